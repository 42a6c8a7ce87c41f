// Turns hits, records and counters into the result document. Opens no file and prints nothing.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

#include "library/block_library.h"
#include "search/search_result.h"

namespace quillon {

/// Returns an object with `blocks` and `stats`. `blocks` has one object for each hit, in the order
/// of `hits`; without hits it is null, not an empty array. A hit whose index is past the records is
/// skipped; indexes must not be negative. Counters are unsigned, `index` is signed, and the three
/// floats are widened to 64 bits. A hit has `dwgPath` if the path of its encodings file contains
/// ".blocksMetadata", otherwise `dwgPathHash`, the name of the file's directory.
nlohmann::json buildResultDocument(const std::vector<SearchResult>& hits,
                                   const std::vector<BlockRecord>& records,
                                   const LoadCounters& counters);

/// Returns the drawing of an encodings file in a metadata tree: R/D for R/.blocksMetadata/X/D/F,
/// absolute and without "." and "..". Uses the depth and the directory's name alone, and does not
/// check whether the drawing exists. Throws std::filesystem::filesystem_error if the current
/// directory is unknown.
std::filesystem::path resolveDrawingPath(const std::filesystem::path& encodingsPath);

}  // namespace quillon
