// The characters of UTF-8 text, and what is none.
#include "shared/utf8.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace quillon {
namespace {

using namespace std::string_view_literals;

/// "value/length", or "none".
std::string firstOf(std::string_view text) {
    const std::optional<Utf8Character> character = firstCharacter(text);
    return character ? std::to_string(static_cast<std::uint32_t>(character->value)) + '/' +
                           std::to_string(character->length)
                     : "none";
}

TEST(FirstCharacter, ReadsTheEndsOfEachLength) {
    const struct {
        std::string_view text;
        const char* character;
    } cases[] = {
        {"\0"sv, "0/1"},
        {"a and more"sv, "97/1"},
        {"\x7F"sv, "127/1"},
        {"\xC2\x80"sv, "128/2"},
        {"\xDF\xBF"sv, "2047/2"},
        {"\xE0\xA0\x80"sv, "2048/3"},
        {"\xED\x9F\xBF"sv, "55295/3"},
        {"\xEE\x80\x80"sv, "57344/3"},
        {"\xEF\xBF\xBF"sv, "65535/3"},
        {"\xF0\x90\x80\x80"sv, "65536/4"},
        {"\xF4\x8F\xBF\xBF and more"sv, "1114111/4"},
    };
    for (const auto& [text, character] : cases) {
        EXPECT_EQ(firstOf(text), character);
        EXPECT_TRUE(isUtf8(text));
    }
}

TEST(FirstCharacter, FindsNoneInMalformedText) {
    for (const std::string_view text : {
             "\x80"sv,              // a byte that continues nothing
             "\xBF"sv,              //
             "\xC3"sv,              // cut off
             "\xE6\xA4"sv,          //
             "\xF0\x9F\x9A"sv,      //
             "\xC3\x28"sv,          // another character begins too early
             "\xE6\xA4\x28"sv,      //
             "\xF0\x9F\x9A\xC3"sv,  //
             "\xC0\x80"sv,          // longer than it has to be
             "\xC1\xBF"sv,          //
             "\xE0\x9F\xBF"sv,      //
             "\xF0\x8F\xBF\xBF"sv,  //
             "\xED\xA0\x80"sv,      // surrogates
             "\xED\xBF\xBF"sv,      //
             "\xF4\x90\x80\x80"sv,  // beyond the last character
             "\xF8\x88\x80\x80\x80"sv,
             "\xFE"sv,
             "\xFF\xFF\xFF\xFF"sv,
         }) {
        EXPECT_EQ(firstOf(text), "none") << testing::PrintToString(text);
        EXPECT_FALSE(isUtf8(text));
        EXPECT_FALSE(isUtf8("door " + std::string(text))) << testing::PrintToString(text);
    }
}

TEST(IsUtf8, HoldsForTheEmptyText) {
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8("Tür 椅子 🚪"));
}

}  // namespace
}  // namespace quillon
