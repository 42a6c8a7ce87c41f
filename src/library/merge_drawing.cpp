#include "library/merge_drawing.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "library/block_key.h"

namespace quillon {
namespace {

/// Room for a large library, which a small one does not ask for: 64 MiB of shapes. Arrays of that
/// size are moved by their pages when they grow, smaller ones may be copied. Pages that are not
/// written to take no memory.
constexpr std::size_t smallLibraryRows = std::size_t{1} << 10U;
constexpr std::size_t largeLibraryRows = std::size_t{1} << 15U;

void addRow(const GrowingRows& source, std::size_t row, bool isKept, GrowingRows& target) {
    if (isKept) {
        if (target.rowCount() == smallLibraryRows) {
            target.reserve(largeLibraryRows);
        }
        std::copy_n(source.row(row), source.rowWidth(), target.append());
    }
}

}  // namespace

void addDrawingBlocks(Drawing&& drawing, bool dedupe, MergeState& state,
                      std::vector<BlockRecord>& records, std::string& diagnostics) {
    const auto addBlock = [&](std::size_t index, std::string_view code) {
        DrawingBlock& block = drawing.blocks[index];
        const bool isNew = state.seenCodes.emplace(code).second;
        if (dedupe && !isNew) {
            ++state.duplicateCount;
            return;
        }
        records.push_back({drawing.path, std::move(block.key)});
        if (block.hasShape) {
            addRow(drawing.shapes, index, state.kept.shape, state.shapes);
        }
        if (block.failure) {
            std::rethrow_exception(block.failure);
        }
        addRow(drawing.texts, index, state.kept.text, state.texts);
        ++state.uniqueCount;
    };

    std::optional<std::size_t> deferred;
    for (std::size_t i = 0; i < drawing.blocks.size(); ++i) {
        diagnostics += drawing.blocks[i].diagnostics;
        const std::vector<std::string_view> fields = splitBlockKey(drawing.blocks[i].key);
        if (fields[2] == "0") {
            deferred = i;
        } else {
            addBlock(i, fields[1]);
        }
    }
    diagnostics += drawing.diagnostics;
    if (drawing.failure) {
        std::rethrow_exception(drawing.failure);
    }
    if (deferred) {
        addBlock(*deferred, splitBlockKey(drawing.blocks[*deferred].key)[1]);
    }
}

}  // namespace quillon
