// Writes and reads the six formats with nlohmann json.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace quillon::test {

inline constexpr std::array<const char*, 6> allExtensions{".json",    ".bson", ".cbor",
                                                          ".msgpack", ".ubj",  ".jdb"};

/// Returns `document` in the format of `extension`. JSON text has replacement characters for bytes
/// that are not UTF-8. BSON has no bytes for a value that is not an object.
std::string encoded(const nlohmann::json& document, std::string_view extension);

/// Reads a document. Throws the exceptions of nlohmann json.
nlohmann::json decoded(std::string_view bytes, std::string_view extension);

}  // namespace quillon::test
