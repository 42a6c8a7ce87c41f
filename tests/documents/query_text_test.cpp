// Which query texts say too little to be searched by.
#include "documents/query_text.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using namespace std::string_view_literals;

TEST(IsMeaninglessText, HoldsForTextsThatSayNothing) {
    for (const std::string_view text : {
             // under 3 bytes
             ""sv,
             "a"sv,
             "ab"sv,
             "é"sv,
             // white space and digits
             "123"sv,
             "   "sv,
             "1 2 3"sv,
             "12 34"sv,
             "2024\n"sv,
             " \t\r\n\v\f"sv,
             // a character that can't be printed
             "door\tleft"sv,
             "door\n"sv,
             "\x1B[31m"sv,
             "door\x7F"sv,
             "do\0or"sv,
             "\0\0\0"sv,
             "door\xC2\x80"sv,
             "door\xC2\x85"sv,
             "a\tbc"sv,
             "\0Door"sv,
             "\xC2\xA0\xC2\x85x"sv,
             "door\xC2\x9F"sv,
             // a noncharacter
             "door\xEF\xB7\x90"sv,
             "door\xEF\xB7\xAF"sv,
             "door\xEF\xBF\xBE"sv,
             "door\xEF\xBF\xBF"sv,
             "door\xF0\x9F\xBF\xBE"sv,
             "door\xF4\x8F\xBF\xBF"sv,
             // malformed UTF-8: a lone byte, a cut-off character, an overlong form, a surrogate,
             // a number beyond the last character
             "door\xFF"sv,
             "door\x80"sv,
             "T\xDCR 90"sv,
             "door\xC3"sv,
             "Door \xC3"sv,
             "door\xE6\xA4"sv,
             "\xE6\xA4"
             "Door"sv,
             "\xC3\x28 door"sv,
             "door\xC0\xAF"sv,
             "\xC0\xAFyes"sv,
             "door\xED\xA0\x80"sv,
             "\xED\xA0\x80\xED\xB0\x80"sv,
             "door\xF4\x90\x80\x80"sv,
             // names that CAD programs make up
             "A$C"sv,
             "a$c"sv,
             "a$c1"sv,
             "A$C1F2E"sv,
             "a$c door"sv,
         }) {
        EXPECT_TRUE(isMeaninglessText(text)) << '"' << text << '"';
    }
}

TEST(IsMeaninglessText, DoesNotHoldForRealTexts) {
    for (const std::string_view text : {
             "abc"sv,
             "a b"sv,
             "---"sv,
             "12a"sv,
             "1-2"sv,
             "2024-01"sv,
             "door ~ 90"sv,
             "   a"sv,
             " A$C"sv,
             "A$c"sv,
             "a$C"sv,
             "A$D"sv,
             "xA$C"sv,
             "éa"sv,
             "椅"sv,
             "椅子"sv,
             "TÜR 90"sv,
             "90 ü"sv,
             "🚪"sv,
             "１２３"sv,
             // blanks beyond ASCII, a character for private use, one that is not assigned yet, the
             // neighbours of noncharacters
             "a\xC2\xA0"sv,
             "a\u2028"sv,
             "a\uE000"sv,
             "a\u0378"sv,
             "a\uFDCF"sv,
             "a\uFDF0"sv,
             "a\uFFFD"sv,
             "a\U0010FFFD"sv,
         }) {
        EXPECT_FALSE(isMeaninglessText(text)) << '"' << text << '"';
    }
}

}  // namespace
}  // namespace quillon
