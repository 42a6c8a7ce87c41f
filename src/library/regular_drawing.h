// The straight road from the bytes of a regular encodings file to its blocks, without a tree.
//
// A file is regular when its top level is an object with `blocks`, `shape` and `text`, each once,
// the three of equal length, every key text with three fields, every vector of its side's width and
// made of numbers alone. Other members may hold anything. Whatever is not regular, parses badly or
// is beyond a limit is left to the exact road: these readers accept nothing that it would reject,
// and give the same bits for what they accept.
#pragma once

#include <simdjson.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "library/drawing_blocks.h"

namespace quillon {

/// JSON text. `bytes` has `size` bytes of content and simdjson::SIMDJSON_PADDING behind them.
std::optional<DrawingBlocks> readRegularJson(simdjson::dom::parser& parser, const char* bytes,
                                             std::size_t size);

/// One of the binary formats.
std::optional<DrawingBlocks> readRegularBinary(std::string_view bytes,
                                               nlohmann::json::input_format_t format);

}  // namespace quillon
