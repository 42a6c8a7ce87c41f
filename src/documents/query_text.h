// Decides whether a block's text says enough to be searched by.
#pragma once

#include <string_view>

namespace quillon {

/// True for a text under 3 bytes, of white space and digits only, with a character that can't be
/// printed, or beginning with "A$C" or "a$c" (names that CAD programs make up). `text` is UTF-8 and
/// is not trimmed. Control characters, noncharacters and malformed sequences can't be printed.
bool isMeaninglessText(std::string_view text);

}  // namespace quillon
