#include "documents/query_text.h"

#include <algorithm>
#include <cctype>
#include <cuchar>
#include <cwchar>
#include <cwctype>

namespace quillon {
namespace {

bool isAscii(unsigned char byte) {
    return byte < 0x80;
}

// Bytes from 0x80 up are parts of characters, whatever a platform says of them one by one.
bool isSpaceOrDigit(unsigned char byte) {
    return isAscii(byte) && (std::isspace(byte) != 0 || std::isdigit(byte) != 0);
}

bool isPrintableCharacter(char32_t character) {
    // Where wide characters have 16 bits the locale can't be asked beyond them. What lies there is
    // rare scripts and symbols, nearly all of it printable.
    if (character > WCHAR_MAX) {
        return character <= 0x10FFFF;
    }
    return std::iswprint(static_cast<std::wint_t>(character)) != 0;
}

bool isPrintable(std::string_view text) {
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text.front());
        std::size_t length = 1;
        if (isAscii(first)) {
            if (std::isprint(first) == 0) {
                return false;
            }
        } else {
            char32_t character = 0;
            std::mbstate_t state{};
            length = std::mbrtoc32(&character, text.data(), text.size(), &state);
            // Malformed and cut-off sequences are reported as lengths no text has.
            if (length > text.size() || !isPrintableCharacter(character)) {
                return false;
            }
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace

bool isMeaninglessText(std::string_view text) {
    return text.size() < 3 || std::all_of(text.begin(), text.end(), isSpaceOrDigit) ||
           !isPrintable(text) || text.starts_with("A$C") || text.starts_with("a$c");
}

}  // namespace quillon
