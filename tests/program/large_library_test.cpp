// Libraries of many drawings and of a big one.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "program/program_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;

TEST(LargeLibrary, LibrariesOfThousandsOfDrawingsKeepTheListsOrder) {
    constexpr std::size_t entries = 5000;
    const TempFolder folder;
    folder.write("query.json", queryDocument());
    std::vector<std::string> paths;
    std::string warnings[2];
    for (std::size_t i = 0; i < entries; ++i) {
        const bool missing = i % 10 == 3;
        paths.push_back(missing ? "missing-" + std::to_string(i) + ".json"
                                : "drawing-" + std::to_string(i % 100) + ".cbor");
        if (missing) {
            for (std::size_t m = 0; m < 2; ++m) {
                warnings[m] += loadModes[m].failureLine('"' + paths[i] + '"',
                                                        "fail to open input file: " + paths[i]);
            }
        }
    }
    for (std::size_t i = 0; i < 100; ++i) {
        const std::string number = std::to_string(i);
        const json drawing = drawingDocument(
            {{"block*" + number + "*" + number, 1.0 + static_cast<double>(100 - i) / 128}});
        folder.write("drawing-" + number + ".cbor",
                     std::string_view(documentBytes(drawing, "cbor")));
    }
    folder.write("list.json", listDocument(paths));
    for (std::size_t m = 0; m < 2; ++m) {
        ConsoleText console;
        console.parallel = loadModes[m].parallel;
        const ProgramResult result = runIn(folder, loadModes[m].arguments("shape"));
        expectCleanEnd(result);
        expectText(maskTimes(result.out), console.untilFiles(entries) + warnings[m] +
                                              ConsoleText::summary(entries, 4500, 90, 4410) +
                                              ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "code"), (std::vector<json>{"99", "98", "97", "96", "95"}));
        EXPECT_EQ(json::parse(resultText(folder)).at("stats").at("failedDrawings"), 500);
    }
}

TEST(LargeLibrary, ADrawingOfAHundredMegabytesIsRead) {
    constexpr std::size_t blocks = 14000;
    const TempFolder folder;
    folder.write("query.json", queryDocument());
    folder.write("list.json", listDocument({"big.json"}));
    // Eight characters an element, as real encodings have.
    const auto vectorText = [](std::size_t width, const std::string& first) {
        std::string text = "[" + first;
        for (std::size_t i = 1; i < width; ++i) {
            text += ",0.00e+0";
        }
        return text + "]";
    };
    const std::string farShape = vectorText(512, "2");
    const std::string farText = vectorText(384, "2");
    std::string keys;
    std::string shapes;
    std::string texts;
    for (std::size_t i = 0; i < blocks; ++i) {
        const bool isLast = i + 1 == blocks;
        const char* comma = isLast ? "" : ",";
        const std::string number = std::to_string(i);
        keys += "\"block*" + number + "*A\"" + comma;
        shapes += (isLast ? vectorText(512, "1.5") : farShape) + comma;
        texts += farText + comma;
    }
    const std::string document =
        R"({"blocks":[)" + keys + R"(],"shape":[)" + shapes + R"(],"text":[)" + texts + "]}";
    EXPECT_GE(document.size(), 100'000'000U);
    folder.write("big.json", std::string_view(document));
    for (const LoadMode& mode : loadModes) {
        ConsoleText console;
        console.parallel = mode.parallel;
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        EXPECT_EQ(maskTimes(result.out), console.untilFiles(1) +
                                             ConsoleText::summary(1, blocks, blocks, 0) +
                                             ConsoleText::success());
        EXPECT_EQ(hitMembers(folder, "index"), (std::vector<json>{blocks - 1}));
    }
}

}  // namespace
}  // namespace quillon::test
