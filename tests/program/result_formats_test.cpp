// Results in each of the six formats.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "program/program_folder.h"
#include "support/documents.h"
#include "support/formats.h"

namespace quillon::test {
namespace {

using nlohmann::json;

json expectedResult() {
    const auto hit = [](std::int64_t index, const char* name, float distance) {
        return json{{"code", std::string(1, name[0])},
                    {"distOrScore", double{distance}},
                    {"dwgPathHash", "drawing"},
                    {"handle", std::to_string(index + 1)},
                    {"index", index},
                    {"name", name},
                    {"shapeWeight", 0.0},
                    {"textWeight", 0.0}};
    };
    return {{"blocks", {hit(1, "near", 0.0625F), hit(0, "middle", 0.25F)}},
            {"stats",
             {{"failedDrawings", 1U},
              {"resultBlocks", 2U},
              {"totalBlocks", 3U},
              {"totalDrawings", 2U},
              {"uniqueBlocks", 3U}}}};
}

TEST(ResultFormats, AreWrittenWithAndWithoutPretty) {
    const TempFolder folder;
    writeQueryAndList(folder, {"drawing/a.json", "missing.json"});
    folder.write("drawing/a.json",
                 encodings({{"middle*m*1", 1.5}, {"near*n*2", 1.25}, {"far*f*3", 2}}));
    for (const std::string extension : allExtensions) {
        SCOPED_TRACE(extension);
        const std::string output = "result" + extension;
        std::vector<std::string> arguments{"/method", "shape", "/output", output};
        expectCleanEnd(runIn(folder, arguments));
        const std::string bytes = readBytes(folder.path() / output);
        EXPECT_EQ(bytes, encoded(expectedResult(), extension));

        arguments.emplace_back("/pretty");
        expectCleanEnd(runIn(folder, arguments));
        if (extension == ".json") {
            EXPECT_EQ(readText(folder.path() / output), expectedResult().dump(4));
        } else {
            EXPECT_EQ(readBytes(folder.path() / output), bytes);
        }
    }
}

// The expected bytes are written by hand from the descriptions of the formats.
TEST(ResultFormats, StoreCountersAsIntegersAndNumbersAsFloats) {
    using namespace std::string_literals;
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    folder.write("a.json", encodings({{"n*c*h", 1.5}}));
    struct Case {
        const char* format;
        std::string distance;
        std::string index;
        std::string uniqueBlocks;
    };
    const std::vector<Case> cases{
        {"bson",
         "\x01"
         "distOrScore\0\0\0\0\0\0\0\xd0\x3f"s,
         "\x10"
         "index\0\0\0\0\0"s,
         "\x10"
         "uniqueBlocks\0\1\0\0\0"s},
        {"cbor",
         "\x6b"
         "distOrScore\xfa\x3e\x80\0\0"s,
         "\x65"
         "index\0"s,
         "\x6c"
         "uniqueBlocks\1"s},
        {"msgpack",
         "\xab"
         "distOrScore\xca\x3e\x80\0\0"s,
         "\xa5"
         "index\0"s,
         "\xac"
         "uniqueBlocks\1"s},
        {"ubj",
         "i\x0b"
         "distOrScoreD\x3f\xd0\0\0\0\0\0\0"s,
         "i\5indexi\0"s, "i\x0cuniqueBlocksi\1"s},
        {"jdb",
         "i\x0b"
         "distOrScoreD\0\0\0\0\0\0\xd0\x3f"s,
         "i\5indexi\0"s, "i\x0cuniqueBlocksi\1"s},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.format);
        const std::string output = std::string("result.") + each.format;
        expectCleanEnd(runIn(folder, {"/method", "shape", "/output", output}));
        const std::string bytes = readBytes(folder.path() / output);
        EXPECT_NE(bytes.find(each.distance), std::string::npos);
        EXPECT_NE(bytes.find(each.index), std::string::npos);
        EXPECT_NE(bytes.find(each.uniqueBlocks), std::string::npos);
    }
}

}  // namespace
}  // namespace quillon::test
