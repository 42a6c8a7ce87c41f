// The blocks of a library: what is kept of each, and how one drawing's blocks are merged in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "library/drawing_blocks.h"
#include "library/growing_rows.h"
#include "shared/feature_matrix.h"

namespace quillon {

/// One block of one drawing.
struct BlockRecord {
    /// As the file list gave it; shared by the blocks of a drawing.
    std::shared_ptr<const std::filesystem::path> encodingsPath;
    /// "name*code*handle", possibly with further fields, which nobody reads.
    std::string blockKey;
};

struct LoadCounters {
    std::uint64_t totalDrawings = 0;   // entries of the file list, failed ones included
    std::uint64_t failedDrawings = 0;  // entries that ended in an exception which was caught
    std::uint64_t totalBlocks = 0;     // unique and duplicated blocks
    std::uint64_t uniqueBlocks = 0;    // blocks that entered the library
};

/// Row r of both matrices and `records[r]` speak of one block. Only read once it is loaded.
struct BlockLibrary {
    std::vector<BlockRecord> records;
    LoadCounters counters;
    FeatureMatrix shapeMatrix;  // N × 512
    FeatureMatrix textMatrix;   // N × 384
};

/// What grows while the drawings of one load are merged.
struct MergeState {
    /// Room for 64 MB of shapes before anything has to move; what is not used takes no memory.
    static constexpr std::size_t expectedRows = std::size_t{1} << 15U;

    std::unordered_set<std::string> seenCodes;
    GrowingRows shapes{shapeWidth, expectedRows};  // of the accepted blocks
    GrowingRows texts{textWidth, expectedRows};
    std::uint64_t uniqueCount = 0;
    std::uint64_t duplicateCount = 0;
};

/// The fields of a block key: the text cut at every "*"; two adjacent ones yield an empty field.
std::vector<std::string> splitBlockKey(std::string_view text);

/// Name, code and handle: what every key must have at least.
bool hasThreeFields(std::string_view blockKey);

/// Merges one drawing. Its blocks enter in order, unless `dedupe` is true and their code has been
/// seen. A drawing has room for one block with the handle "0": the last of them, added after all
/// others; the rest vanish uncounted. Remarks go to `console` in their places.
///
/// Rethrows the drawing's failure and the fault of a vector that was to be added. What was merged
/// before stays: after a fault code and record are in and the row of that side is not, and a fault
/// of the text side leaves the shape side one row ahead.
void addDrawingBlocks(DrawingBlocks&& drawing,
                      const std::shared_ptr<const std::filesystem::path>& encodingsPath,
                      bool dedupe, MergeState& state, std::vector<BlockRecord>& records,
                      std::ostream& console);

}  // namespace quillon
