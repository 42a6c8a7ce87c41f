// The straight road from the bytes of a tidy encodings file to its blocks, without a tree.
//
// A file is tidy when its top level is an object with `blocks`, `shape` and `text`, each once, the
// three of equal length, every key text with three fields, every vector of its side's width and
// made of numbers alone. Other members may hold anything. Whatever is untidy, parses badly or is
// beyond a limit is left to the tree road: these readers accept nothing that it would reject, and
// give the same bits for what they accept.
#pragma once

#include <simdjson.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "library/drawing_blocks.h"

namespace quillon {

/// JSON text. There are simdjson::SIMDJSON_PADDING bytes behind `bytes`.
std::optional<DrawingBlocks> tidyJsonBlocks(std::string_view bytes, simdjson::dom::parser& parser);

/// CBOR or MessagePack at the speed of memory, for `tidyBinaryBlocks`, which takes what is left
/// here: other members, tags, open ends, extensions.
std::optional<DrawingBlocks> tidyPackedBlocks(std::string_view bytes,
                                              nlohmann::json::input_format_t format);

/// One of the binary formats. Throws as `walkWithinLimits` does, so that what it leaves can be made
/// a tree of without another look at it.
std::optional<DrawingBlocks> tidyBinaryBlocks(std::string_view bytes,
                                              nlohmann::json::input_format_t format,
                                              const std::filesystem::path& path);

}  // namespace quillon
