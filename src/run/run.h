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

/// Runs the tool and returns the exit status: 0, or -1 if a required path is missing. Throws for
/// all other failures. `arguments` are UTF-8, element 0 is the program's name. The stages run one
/// after the other on the calling thread. The result file is opened only after the search has
/// succeeded.
int run(const std::vector<std::string>& arguments);

/// Returns the hits of one method. `minThreshold` is the threshold to use, k is at most the number
/// of library rows. Throws std::invalid_argument ("invalid query type") if `type` is not a method,
/// and the exceptions of the methods.
std::vector<SearchResult> searchLibrary(QueryType type, std::uint32_t k, const QueryBlock& query,
                                        const BlockLibrary& library, float minThreshold);

}  // namespace quillon
