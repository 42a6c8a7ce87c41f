// The generic path, from a parsed document to its blocks: every check in its order, with its
// message.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "library/drawing.h"

namespace quillon {

/// Goes through the blocks of an encodings document in order. A vector of the wrong length or a key
/// under three fields rejects the block with a line among the diagnostics. What is wrong with the
/// document itself (a value of another type, a missing key: the JSON library's type_error and
/// out_of_range 403) ends it there and becomes its `failure`. Throws nothing but std::bad_alloc.
Drawing blocksOfDocument(const nlohmann::json& document);

}  // namespace quillon
