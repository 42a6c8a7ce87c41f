// Text into paths and back.
#include "shared/utf8_path.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace quillon {
namespace {

TEST(PathFromUtf8, KeepsEveryCharacter) {
    for (const char* text : {"", "plain.json", "Tür/椅子.json", "🚪.json"}) {
        EXPECT_EQ(utf8FromPath(pathFromUtf8(text)), text);
    }
    EXPECT_EQ(pathFromUtf8("🚪").u16string(), u"🚪");
}

TEST(PathFromUtf8, KeepsMalformedText) {
    for (const std::string text :
         {"a\xff.json", "\xed\xa0\x80.json", "T\xc3\xbcr \xff.json", "|\xed\xb0\x80.json"}) {
        const std::filesystem::path path = pathFromUtf8(text);
        EXPECT_EQ(utf8FromPath(path), text);
        EXPECT_EQ(path.extension(), ".json");
#ifdef _WIN32  // where no file has such a name
        EXPECT_FALSE(std::ofstream(path));
#endif
    }
}

}  // namespace
}  // namespace quillon
