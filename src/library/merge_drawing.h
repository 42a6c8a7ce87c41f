// Merges the blocks of one drawing into the library: duplicates, the handle "0", and the counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "library/block_library.h"
#include "library/drawing_blocks.h"
#include "library/growing_rows.h"

namespace quillon {

/// What grows while the drawings of one load are merged.
struct MergeState {
    /// Room for a small library, 2 MB of shapes: too little for large pages, of which the first
    /// alone would take longer to zero than its rows to load.
    static constexpr std::size_t firstRows = std::size_t{1} << 10U;
    /// For any other, 64 MB of shapes before they have to move again; what is not used takes no
    /// memory.
    static constexpr std::size_t expectedRows = std::size_t{1} << 15U;

    KeptSides kept;
    std::unordered_set<std::string> seenCodes;
    GrowingRows shapes{shapeWidth, firstRows};  // of the accepted blocks, if kept
    GrowingRows texts{textWidth, firstRows};
    std::uint64_t uniqueCount = 0;
    std::uint64_t duplicateCount = 0;
};

/// Expects of all `listed` drawings what the first `merged` ones, at least one, have had, so that
/// the rows of a large library move once: they are held twice where that is a copy. But no more
/// than eight times the rows that there are, since the first drawings may be the large ones.
void expectMoreOfTheSame(std::size_t merged, std::size_t listed, MergeState& state);

/// Merges one drawing. Its blocks enter in order, unless `dedupe` is true and their code has been
/// seen. A drawing has room for one block with the handle "0": the last of them, added after all
/// others; the rest vanish uncounted. The drawing's remarks are appended to `remarks`, for the
/// console, as far as the merge came.
///
/// Rethrows the drawing's failure and the fault of a vector that was to be added. What was merged
/// before stays: after a fault code and record are in and the row of that side is not, and a fault
/// of the text side leaves the shape side one row ahead.
void addDrawingBlocks(DrawingBlocks&& drawing,
                      const std::shared_ptr<const std::filesystem::path>& encodingsPath,
                      bool dedupe, MergeState& state, std::vector<BlockRecord>& records,
                      std::string& remarks);

}  // namespace quillon
