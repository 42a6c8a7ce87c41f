// One run of the tool: one query against one library, from the arguments to the result file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "documents/query_block.h"
#include "library/block_library.h"
#include "search/search_result.h"
#include "shared/query_type.h"

namespace quillon {

/// `arguments` are UTF-8, element 0 being the program's own name. Returns 0, or -1 when a required
/// path is missing; fails by throwing. The result file is touched only after everything else has
/// succeeded. Stages run one after the other on the calling thread.
int run(const std::vector<std::string>& arguments);

/// The hits of one method. `minThreshold` is the effective one, k at most the library's row count.
/// Throws std::invalid_argument ("invalid query type") for a type that is no method, and what the
/// methods throw.
std::vector<SearchResult> searchLibrary(QueryType type, std::uint32_t k, const QueryBlock& query,
                                        const BlockLibrary& library, float minThreshold);

}  // namespace quillon
