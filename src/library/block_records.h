// The blocks of a library: what is kept of each, and how one drawing's document is merged in.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <unordered_set>
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
    std::unordered_set<std::string> seenCodes;
    std::vector<float> shapeValues;  // accepted vectors one after the other, 512 floats each
    std::vector<float> textValues;   // 384 each
    std::uint64_t uniqueCount = 0;
    std::uint64_t duplicateCount = 0;
};

/// The fields of a block key: the text cut at every "*"; two adjacent ones yield an empty field.
std::vector<std::string> splitBlockKey(std::string_view text);

/// Merges one parsed encodings document. In document order, each block with a vector of the wrong
/// length or a key under three fields is rejected with a line on the console; the others enter
/// unless `dedupe` is true and their code has been seen. A drawing has room for one block with the
/// handle "0": the last of them, added after all others; the rest vanish uncounted.
///
/// Throws the JSON library's type_error for a value of a wrong type and out_of_range 403 for a
/// missing key. What was merged before stays. A vector element that is no number fails when its
/// block is added: code and record are in by then, the floats of that vector are not.
void addDrawingBlocks(const nlohmann::json& document,
                      const std::shared_ptr<const std::filesystem::path>& encodingsPath,
                      bool dedupe, MergeState& state, std::vector<BlockRecord>& records);

}  // namespace quillon
