// Turns hits, records and counters into the result document. Opens no file and prints nothing.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

#include "library/block_library.h"
#include "search/search_result.h"

namespace quillon {

/// An object with `blocks`, one object a hit in the order of `hits` (null, not an empty array, when
/// there is none), and `stats`. A hit whose index is past the records is passed over; indexes must
/// not be negative. Counters are unsigned, `index` signed, the three floats widened to 64 bits.
/// A hit's drawing is its `dwgPath` when the path of its encodings file contains ".blocksMetadata",
/// otherwise its `dwgPathHash`, the name of the directory that holds that file.
nlohmann::json buildResultDocument(const std::vector<SearchResult>& hits,
                                   const std::vector<BlockRecord>& records,
                                   const LoadCounters& counters);

/// The drawing of a metadata tree: R/D for R/.blocksMetadata/X/D/F, by depth and directory name
/// alone, absolute and without "." and "..". The file system is not asked whether anything exists.
/// Throws std::filesystem::filesystem_error when the current directory is unknown.
std::filesystem::path resolveDrawingPath(const std::filesystem::path& encodingsPath);

}  // namespace quillon
