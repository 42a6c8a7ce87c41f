// Runs the tests under the locale that the program itself selects.
#include <gtest/gtest.h>

#include <clocale>

int main(int count, char** values) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    testing::InitGoogleTest(&count, values);
    return RUN_ALL_TESTS();
}
