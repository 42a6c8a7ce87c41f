// The fast path from the bytes of a well-formed encodings file to its blocks, without a JSON tree.
//
// A file is well-formed when its top level is an object with `blocks`, `shape` and `text`, each
// once, the three of equal length, every key text with three fields, every vector of its side's
// width and made of numbers alone. Other members may hold anything. Every other file, and every
// file that does not parse or exceeds a limit, is left to the generic path (document_blocks.h). The
// fast readers accept nothing that the generic path would reject, and give the same bits.
#pragma once

#include <simdjson.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "library/drawing.h"

namespace quillon {

/// JSON text. There are FileBytes::padding readable bytes behind `bytes`.
std::optional<Drawing> readJsonFast(std::string_view bytes, simdjson::dom::parser& parser);

/// CBOR or MessagePack at the speed of memory. Leaves other members, tags, open ends and extensions
/// to `readEventsFast`.
std::optional<Drawing> readPackedFast(std::string_view bytes,
                                      nlohmann::json::input_format_t format);

/// Any binary format, by the events of the JSON library's readers. Throws as `walkWithinLimits`
/// does, so that a tree can be made of what it leaves without another look at the limits.
std::optional<Drawing> readEventsFast(std::string_view bytes, nlohmann::json::input_format_t format,
                                      const std::filesystem::path& path);

/// By the reader or readers of the format. Throws as `readEventsFast`.
std::optional<Drawing> readFast(std::string_view bytes, nlohmann::json::input_format_t format,
                                const std::filesystem::path& path, simdjson::dom::parser& parser);

}  // namespace quillon
