// Text into paths and back.
#include "shared/utf8_path.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/failure_texts.h"

namespace quillon {
namespace {

TEST(PathFromUtf8, KeepsEveryCharacter) {
    for (const char* text : {"", "plain.json", "Tür/椅子.json", "🚪.json"}) {
        EXPECT_EQ(utf8FromPath(pathFromUtf8(text)), text);
    }
    EXPECT_EQ(pathFromUtf8("🚪").u16string(), u"🚪");
}

TEST(PathFromUtf8, KeepsMalformedText) {
    for (const std::string text : {"a\xff.json", "a\xed\xa0\x80.json"}) {
        EXPECT_EQ(utf8FromPath(pathFromUtf8(text)), text);
    }
}

}  // namespace
}  // namespace quillon
