// The query document: the encodings of the block asked about, and whether its text can be trusted.
#pragma once

#include <filesystem>

#include "shared/feature_matrix.h"
#include "shared/query_type.h"

namespace quillon {

/// Both sides 1 × D; D is the document's own, 0 where it has no usable row. No search method reads
/// an array that is narrower than the library's rows.
struct QueryBlock {
    FeatureMatrix shape;
    FeatureMatrix text;
};

/// Reads `shape`, `text` and `queryText` of the document at `path` and keeps row 0 of the two
/// arrays, each number narrowed to float32. Writes ByShape into `queryType` when the first query
/// text is meaningless, whatever was chosen. Throws what `readJsonFile` throws, type_error 305 or
/// 302 for a value of a wrong type, out_of_range 403 for a missing key and 401 for a row shorter
/// than row 0.
void readQueryBlock(const std::filesystem::path& path, QueryType& queryType, QueryBlock& query);

}  // namespace quillon
