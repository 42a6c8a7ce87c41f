// What a load leaves: the library's blocks, their vectors, and the counts.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

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
    std::uint64_t totalDrawings = 0;   // as many as the file list has, failed ones included
    std::uint64_t failedDrawings = 0;  // those that ended in an exception which was caught
    std::uint64_t totalBlocks = 0;     // unique and duplicated blocks
    std::uint64_t uniqueBlocks = 0;    // blocks that entered the library
};

/// Whose vectors a load keeps: a search of one side never looks at the other's, and to place rows is
/// much of what a load costs.
struct KeptSides {
    bool shape = true;
    bool text = true;
};

/// Row r of both matrices and `records[r]` speak of one block. A side that was not kept has no rows.
/// Only read once it is loaded.
struct BlockLibrary {
    std::vector<BlockRecord> records;
    LoadCounters counters;
    FeatureMatrix shapeMatrix;  // N × 512
    FeatureMatrix textMatrix;   // N × 384
};

}  // namespace quillon
