// The user's locale changes nothing but what is said of it: numbers of the command line and of the
// documents have a point whatever the user's decimal separator is. On Windows the run-time has no
// such locales.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "program/program_folder.h"
#include "support/documents.h"

#ifndef _WIN32

namespace quillon::test {
namespace {

/// Makes the German locale in the working folder and makes it the user's. Status 99 unless it has a
/// decimal comma then.
constexpr const char* startAsGerman = R"sh(
    localedef -i de_DE -f UTF-8 ./de_DE.UTF-8 &&
        export LOCPATH="$PWD" LC_ALL=de_DE.UTF-8 &&
        [ "$(locale decimal_point)" = , ] || exit 99
    exec "$@")sh";

TEST(Locale, WithADecimalCommaChangesNoNumber) {
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", encodings({{"near*N*1", 1.25}, {"middle*M*2", 1.5}}));
    ConsoleText console;
    console.method = "ByText";
    console.threshold = "0.85";
    expectSuccess(
        runIn(folder, {"/method", "text", "/min", "0.85"}, {"sh", "-c", startAsGerman, "sh"}),
        console.untilFiles(1) + ConsoleText::summary(1, 2, 2, 0) + ConsoleText::success());
    // With the threshold 0 the farther one, at 0.25, would be found too.
    EXPECT_EQ(resultText(folder),
              R"({"blocks":[{"code":"N","distOrScore":0.0625,"dwgPathHash":"","handle":"1",)"
              R"("index":0,"name":"near","shapeWeight":0.0,"textWeight":0.0}],)"
              R"("stats":{"failedDrawings":0,"resultBlocks":1,"totalBlocks":2,)"
              R"("totalDrawings":1,"uniqueBlocks":2}})");
}

}  // namespace
}  // namespace quillon::test

#endif
