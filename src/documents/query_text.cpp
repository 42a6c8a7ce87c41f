#include "documents/query_text.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "shared/utf8.h"

namespace quillon {
namespace {

bool isAscii(unsigned char byte) {
    return byte < 0x80;
}

// Bytes from 0x80 up are parts of characters, whatever a platform says of them one by one.
bool isSpaceOrDigit(unsigned char byte) {
    return isAscii(byte) && (std::isspace(byte) != 0 || std::isdigit(byte) != 0);
}

// The same everywhere: a platform's table of characters depends on its age and on the locale.
bool isPrintableCharacter(char32_t character) {
    if (character < 0xA0) {
        return character >= ' ' && character <= '~';
    }
    const bool isNoncharacter =
        (character >= 0xFDD0 && character <= 0xFDEF) || (character & 0xFFFEU) == 0xFFFE;
    return !isNoncharacter;
}

bool isPrintable(std::string_view text) {
    while (!text.empty()) {
        const std::optional<Utf8Character> character = firstCharacter(text);
        if (!character || !isPrintableCharacter(character->value)) {
            return false;
        }
        text.remove_prefix(character->length);
    }
    return true;
}

}  // namespace

bool isMeaninglessText(std::string_view text) {
    return text.size() < 3 || std::all_of(text.begin(), text.end(), isSpaceOrDigit) ||
           !isPrintable(text) || text.starts_with("A$C") || text.starts_with("a$c");
}

}  // namespace quillon
