// Documents of the JSON data model as files: JSON text (.json), BSON (.bson), CBOR (.cbor),
// MessagePack (.msgpack), UBJSON (.ubj), BJData (.jdb). The extension alone decides, compared
// exactly; content is never sniffed. Nothing here knows what a document means.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

namespace quillon {

/// The format of the path's extension, or nothing for an unknown one.
std::optional<nlohmann::json::input_format_t> documentFormat(const std::filesystem::path& path);

/// The same for a file to be read. Throws std::runtime_error for an unknown one.
nlohmann::json::input_format_t knownFormat(const std::filesystem::path& path);

/// Reads the whole file; nothing but white space may follow a JSON text, and nothing a binary
/// value. Throws what `InputFile` throws and, after that, what `knownFormat` does;
/// std::runtime_error for a binary document beyond the limits of `checkBinaryLimits`; the JSON
/// library's exceptions when the content does not parse. Calls on several threads do not disturb
/// each other.
nlohmann::json readJsonFile(const std::filesystem::path& path);

/// The tree of a document, `bytes` being all of it and, in a binary format, within the limits.
/// Throws the JSON library's exceptions when they do not parse.
nlohmann::json parseDocument(std::string_view bytes, nlohmann::json::input_format_t format);

/// Creates or empties the file, then writes. `pretty` indents JSON text by 4 blanks a level and
/// changes nothing elsewhere. Throws std::runtime_error when the file can't be opened or, by then
/// empty, has an unknown extension; the JSON library's type_error for a value that the format can't
/// hold, with the part before it written. A failing disk is not noticed.
void writeJsonFile(const nlohmann::json& document, const std::filesystem::path& path, bool pretty);

}  // namespace quillon
