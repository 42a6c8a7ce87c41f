// Keys cut into their fields.
#include "library/block_key.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace quillon {
namespace {

using Fields = std::vector<std::string_view>;

TEST(SplitBlockKey, CutsAtEveryStar) {
    EXPECT_EQ(splitBlockKey("Door 23*D7*3A"), (Fields{"Door 23", "D7", "3A"}));
    EXPECT_EQ(splitBlockKey("TÜR*椅子*0*more*"), (Fields{"TÜR", "椅子", "0", "more", ""}));
    EXPECT_EQ(splitBlockKey("no star"), (Fields{"no star"}));
}

TEST(SplitBlockKey, KeepsEmptyFields) {
    EXPECT_EQ(splitBlockKey("Door**3A"), (Fields{"Door", "", "3A"}));
    EXPECT_EQ(splitBlockKey("**"), (Fields{"", "", ""}));
    EXPECT_EQ(splitBlockKey("*"), (Fields{"", ""}));
    EXPECT_EQ(splitBlockKey(""), (Fields{""}));
}

TEST(SplitBlockKey, NeitherTrimsNorUnescapes) {
    EXPECT_EQ(splitBlockKey(R"( a \* b *c)"), (Fields{R"( a \)", " b ", "c"}));
}

TEST(HasThreeFields, CountsTheStars) {
    for (const char* key : {"**", "a*b*c", "a*b*c*d", "***"}) {
        EXPECT_TRUE(hasThreeFields(key)) << key;
    }
    for (const char* key : {"", "*", "a*b", "abc"}) {
        EXPECT_FALSE(hasThreeFields(key)) << key;
    }
}

}  // namespace
}  // namespace quillon
