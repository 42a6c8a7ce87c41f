// The six document formats, as the JSON library writes and reads them.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace quillon::test {

inline constexpr std::array<const char*, 6> allExtensions{".json",    ".bson", ".cbor",
                                                          ".msgpack", ".ubj",  ".jdb"};

/// `document` in the format of `extension`. What a format has no place for is left out: bytes that
/// are not UTF-8 are replaced in JSON text, and BSON has no bytes for what is no object.
std::string encoded(const nlohmann::json& document, std::string_view extension);

/// Reads the same; throws the JSON library's exceptions.
nlohmann::json decoded(std::string_view bytes, std::string_view extension);

}  // namespace quillon::test
