#include "library/merge_drawing.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "library/block_key.h"

namespace quillon {
namespace {

void addRow(const GrowingRows& source, std::size_t row, const std::exception_ptr& fault,
            bool isKept, GrowingRows& target) {
    if (fault) {
        std::rethrow_exception(fault);
    }
    if (isKept) {
        std::copy_n(source.row(row), source.rowWidth(), target.append());
    }
}

}  // namespace

void expectMoreOfTheSame(std::size_t merged, std::size_t listed, MergeState& state) {
    const std::size_t rows = state.uniqueCount;
    const std::size_t alike = rows * listed / merged;
    // The next drawing may be the one that the first room is too small for.
    const std::size_t least =
        rows < MergeState::firstRows / 2 ? MergeState::firstRows : MergeState::expectedRows;
    const std::size_t expected = std::max(least, std::min(alike + alike / 16, 8 * rows));
    state.shapes.expect(expected);
    state.texts.expect(expected);
}

void addDrawingBlocks(DrawingBlocks&& drawing,
                      const std::shared_ptr<const std::filesystem::path>& encodingsPath,
                      bool dedupe, MergeState& state, std::vector<BlockRecord>& records,
                      std::string& remarks) {
    const auto addBlock = [&](std::size_t index, std::string_view code) {
        DrawingBlock& block = drawing.blocks[index];
        const bool isNew = state.seenCodes.emplace(code).second;
        if (dedupe && !isNew) {
            ++state.duplicateCount;
            return;
        }
        records.push_back({encodingsPath, std::move(block.key)});
        addRow(drawing.shapes, index, block.shapeFault, state.kept.shape, state.shapes);
        addRow(drawing.texts, index, block.textFault, state.kept.text, state.texts);
        ++state.uniqueCount;
    };

    std::optional<std::size_t> deferred;
    for (std::size_t i = 0; i < drawing.blocks.size(); ++i) {
        remarks += drawing.blocks[i].remarks;
        const std::vector<std::string_view> fields = splitBlockKey(drawing.blocks[i].key);
        if (fields[2] == "0") {
            deferred = i;
        } else {
            addBlock(i, fields[1]);
        }
    }
    remarks += drawing.remarks;
    if (drawing.failure) {
        std::rethrow_exception(drawing.failure);
    }
    if (deferred) {
        addBlock(*deferred, splitBlockKey(drawing.blocks[*deferred].key)[1]);
    }
}

}  // namespace quillon
