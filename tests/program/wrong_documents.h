// Documents with one thing wrong, and the beginnings of the texts that the JSON library has for it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace quillon::test {

// Each is followed by the name of the type that came instead, or by the missing key.
inline const std::string objectWanted =
    "[json.exception.type_error.305] cannot use operator[] with a string argument with ";
inline const std::string arrayWanted =
    "[json.exception.type_error.305] cannot use operator[] with a numeric argument with ";
inline const std::string stringWanted =
    "[json.exception.type_error.302] type must be string, but is ";
inline const std::string numberWanted =
    "[json.exception.type_error.302] type must be number, but is ";
inline const std::string keyWanted = "[json.exception.out_of_range.403] key ";

struct WrongDocument {
    nlohmann::json document;
    std::string text;  // of the failure
};

/// The document with the value at `place` (a JSON pointer) replaced or added.
inline nlohmann::json with(nlohmann::json document, const std::string& place,
                           const nlohmann::json& value) {
    document[nlohmann::json::json_pointer(place)] = value;
    return document;
}

inline nlohmann::json without(nlohmann::json document, const char* key) {
    document.erase(key);
    return document;
}

}  // namespace quillon::test
