// Well-formed UTF-8, character by character. The platforms' own decoders depend on the locale, and
// not all of them check what they read.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <optional>
#include <string_view>

namespace quillon {

struct Utf8Character {
    char32_t value;
    std::size_t length;  // bytes that it takes
};

/// The character that `text`, which is not empty, begins with. Nothing for a malformed or cut-off
/// sequence, an overlong form, a surrogate and a number beyond the last character.
inline std::optional<Utf8Character> firstCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80U) {
        return Utf8Character{first, 1};
    }
    const auto length = static_cast<std::size_t>(std::countl_one(first));
    if (length < 2 || length > 4 || text.size() < length) {
        return std::nullopt;
    }
    char32_t value = first & (0x7FU >> length);
    for (const char character : text.substr(1, length - 1)) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte & 0xC0U) != 0x80U) {
            return std::nullopt;
        }
        value = (value << 6U) | (byte & 0x3FU);
    }
    static constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    if (value < least[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        return std::nullopt;
    }
    return Utf8Character{value, length};
}

inline bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::optional<Utf8Character> character = firstCharacter(text);
        if (!character) {
            return false;
        }
        text.remove_prefix(character->length);
    }
    return true;
}

}  // namespace quillon
