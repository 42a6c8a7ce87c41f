// Merges the blocks of one drawing into the library: duplicates, the handle "0", and the counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "library/block_library.h"
#include "library/drawing.h"
#include "library/growing_rows.h"

namespace quillon {

/// What grows while the drawings of one load are merged.
struct MergeState {
    KeptSides kept;
    std::unordered_set<std::string> seenCodes;
    GrowingRows shapes{shapeWidth};  // of the accepted blocks, if kept
    GrowingRows texts{textWidth};
    std::uint64_t uniqueCount = 0;
    std::uint64_t duplicateCount = 0;
};

/// Merges one drawing. Its blocks enter in order, unless `dedupe` is true and their code has been
/// seen. A drawing has room for one block with the handle "0": the last of them, added after all
/// others; the rest vanish uncounted. The drawing's diagnostics are appended to `diagnostics`, for
/// the console, up to where the merge ends.
///
/// Rethrows the drawing's failure and that of a block that is to be added. What was merged before
/// stays: after a block's failure its code and record are in and the row of that side is not, and a
/// failure of the text side leaves the shape side one row ahead.
void addDrawingBlocks(Drawing&& drawing, bool dedupe, MergeState& state,
                      std::vector<BlockRecord>& records, std::string& diagnostics);

}  // namespace quillon
