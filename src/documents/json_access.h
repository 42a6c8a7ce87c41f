// Element access that neither reads past an array nor invents a member.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>

namespace quillon {

/// Throws type_error 305 when `object` is no object and out_of_range 403 when the key is missing.
/// (The library's operator[] names the wrong type but has no defined result for a missing key;
/// its at() is the other way round.)
inline const nlohmann::json& memberOf(const nlohmann::json& object, const char* key) {
    return object.is_object() ? object.at(key) : object[key];
}

/// Throws type_error 305 when `array` is no array and out_of_range 401 past its end.
inline const nlohmann::json& elementOf(const nlohmann::json& array, std::size_t index) {
    return array.is_array() ? array.at(index) : array[index];
}

}  // namespace quillon
