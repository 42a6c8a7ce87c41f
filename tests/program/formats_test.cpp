// The six formats for every document, read from files of other encoders (tests/data/make_data.py).
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "program/program_folder.h"
#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/failure_texts.h"
#include "support/formats.h"

namespace quillon::test {
namespace {

using nlohmann::json;

const std::filesystem::path data = std::filesystem::path(QUILLON_SOURCE_DIR) / "tests/data";

std::string inData(const std::string& name) {
    return utf8FromPath((data / name).make_preferred());
}

/// Returns the text as JSON. The console quotes paths in the same way.
std::string quoted(const std::string& path) {
    return json(path).dump();
}

/// Runs in a folder with only "list.json". The query is elsewhere.
json hitsOf(const TempFolder& folder, const std::vector<std::string>& drawings,
            const std::string& query, std::vector<std::string> more) {
    writeList(folder, drawings);
    more.insert(more.end(), {"/encode", inData(query)});
    const ProgramResult result = runIn(folder, more);
    expectCleanEnd(result);
    EXPECT_EQ(result.status, 0) << result.out;
    json hits = json::parse(resultText(folder));
    for (json& hit : hits["blocks"]) {
        hit.erase("dwgPathHash");
    }
    return hits;
}

/// Returns the text of a result whose documents all have one format. The name of the data's folder
/// is removed from the drawings' paths.
std::string realResult(const std::string& format, const LoadMode& mode, const std::string& method) {
    const TempFolder outputs;
    const std::string output = utf8FromPath(outputs.path() / "result.json");
    std::vector<std::string> arguments = mode.arguments(method);
    arguments.insert(arguments.end(), {"/encode", "query." + format, "/filelist", "list." + format,
                                       "/output", output, "/min", "-9", "/topk", "-1"});
    const ProgramResult result = runProgram(arguments, data / format);
    expectCleanEnd(result);
    ConsoleText console;
    console.query = "\"query." + format + '"';
    console.list = "\"list." + format + '"';
    console.output = quoted(output);
    console.parallel = mode.parallel;
    console.topK = "4294967295";
    console.method = method == "shape" ? "ByShape" : "ByText";
    console.threshold = method == "shape" ? "0.2" : "-9";
    EXPECT_EQ(maskTimes(result.out),
              console.untilFiles(2) + ConsoleText::summary(2, 5, 5, 0) + ConsoleText::success());
    std::string text = resultText(outputs);
    const auto inJson = [](const std::string& path) {
        const std::string inQuotes = quoted(path);
        return inQuotes.substr(1, inQuotes.size() - 2);
    };
    const std::string folder = inJson(inData(format + "/"));
    for (std::size_t at = text.find(folder); at != std::string::npos; at = text.find(folder)) {
        text.replace(at, folder.size(), inJson(inData("")));
    }
    return text;
}

TEST(Formats, RealDrawingsGiveTheSameResultInEachOfThem) {
    for (const LoadMode& mode : loadModes) {
        for (const std::string method : {"shape", "text"}) {
            const std::string expected = realResult("json", mode, method);
            std::vector<std::string> names;
            const json document = json::parse(expected);
            for (const json& hit : document.at("blocks")) {
                names.push_back(hit.at("name"));
            }
            EXPECT_EQ(names, method == "shape"
                                 ? (std::vector<std::string>{"Door 23_4", "Door 23_2", "Door 23_6"})
                                 : (std::vector<std::string>{"Door 23_2", "Door 23_6", "Door 23_4",
                                                             "wipeout_door", "wipeout_door"}));
            EXPECT_EQ(document["blocks"][0]["dwgPath"], inData("plan/texts-in-block.dxf"));
            for (const std::string extension : allExtensions) {
                SCOPED_TRACE(extension);
                EXPECT_EQ(realResult(extension.substr(1), mode, method), expected);
            }
        }
    }
}

TEST(Formats, MayDifferBetweenQueryListAndDrawings) {
    const std::string expected = [] {
        const TempFolder folder;
        return hitsOf(folder, {inData("json/loose/wipeout_door.dxf/encodings.json")},
                      "json/query.json", {"/method", "text", "/min", "-9"})
            .dump();
    }();
    for (std::size_t i = 0; i < allExtensions.size(); ++i) {
        const std::string list = allExtensions[i];
        const std::string query = allExtensions[(i + 1) % allExtensions.size()];
        const std::string drawing = allExtensions[(i + 2) % allExtensions.size()];
        SCOPED_TRACE(list);
        const TempFolder folder;
        const json paths = listDocument(
            {inData(drawing.substr(1) + "/loose/wipeout_door.dxf/encodings" + drawing)});
        folder.write("mixed" + list, encoded(paths, list));
        const json hits = hitsOf(folder, {}, query.substr(1) + "/query" + query,
                                 {"/method", "text", "/min", "-9", "/filelist", "mixed" + list});
        EXPECT_EQ(hits.dump(), expected);
    }
}

TEST(Formats, NumbersOfEveryKindBecomeTheSameFloats) {
    const TempFolder folder;
    std::vector<std::string> drawings;
    for (const char* extension : allExtensions) {
        drawings.push_back(inData(std::string("numbers/plain") + extension));
    }
    for (const char* name : {"shortest.cbor", "counted.ubj", "counted.jdb"}) {
        drawings.push_back(inData(std::string("numbers/") + name));
    }
    // Containers with one common type for all elements.
    const json numbers = json::parse(readBytes(data / "numbers/plain.json"));
    std::string typed;
    json::to_ubjson(numbers, typed, true, true);
    folder.write("typed.ubj", typed);
    typed.clear();
    json::to_bjdata(numbers, typed, true, true);
    folder.write("typed.jdb", typed);
    drawings.insert(drawings.end(), {"typed.ubj", "typed.jdb"});

    // The squared lengths of the vectors, whose numbers are rounded to 32 bits. The sum of thirds
    // depends on the order of addition.
    struct Expected {
        const char* name;
        float distance;
    };
    const float tenth = 0.1F * 0.1F;
    const float nearOne = (1.0F + 0x1p-20F) * (1.0F + 0x1p-20F);
    const std::vector<Expected> expected{
        {"doubles", 0.5655556F},
        {"singles", tenth + nearOne},
        {"halves", 2.5F + 0x1p-20F},
        {"booleans", 3.0F},
        {"short integers", 164692.0F},
        {"middle integers", 1073676289.0F + 1600000000.0F + 4900000000.0F},
        {"long integers", 9e18F + 25e18F},
        {"wide integer", (0x1p60F + 0x1p37F) * (0x1p60F + 0x1p37F)},
    };
    for (const LoadMode& mode : loadModes) {
        std::string first;
        for (const std::string& drawing : drawings) {
            SCOPED_TRACE(drawing);
            std::vector<std::string> arguments = mode.arguments("text");
            arguments.insert(arguments.end(), {"/min", "-1e38", "/topk", "-1"});
            const json hits = hitsOf(folder, {drawing}, "numbers/query.json", arguments);
            first = first.empty() ? hits.dump() : first;
            EXPECT_EQ(hits.dump(), first);
            ASSERT_EQ(hits.at("blocks").size(), expected.size());
            for (std::size_t i = 0; i < expected.size(); ++i) {
                EXPECT_EQ(hits["blocks"][i]["name"], expected[i].name);
                EXPECT_FLOAT_EQ(hits["blocks"][i]["distOrScore"].get<float>(),
                                expected[i].distance);
            }
            // The last one is too large for a float, so its distance is infinite.
            EXPECT_EQ(hits["stats"]["uniqueBlocks"], expected.size() + 1);
        }
    }
}

TEST(Formats, FloatsOf32BitsAreReadAsExactlyAsThoseOf64) {
    const TempFolder folder;
    const std::vector<std::string> arguments{"/method", "text", "/min", "-9"};
    const json expected = hitsOf(folder, {inData("json/loose/wipeout_door.dxf/encodings.json")},
                                 "json/query.json", arguments);
    EXPECT_EQ(expected["blocks"].size(), 2U);
    for (const char* name :
         {"shortest.cbor", "single.msgpack", "single.ubj", "counted.ubj", "single.jdb"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(
            hitsOf(folder, {inData(std::string("narrow/") + name)}, "json/query.json", arguments),
            expected);
    }
}

TEST(Formats, BlocksWithNaNAndInfinitiesAreLoadedAndNotFound) {
    const TempFolder folder;
    std::vector<std::string> drawings;
    for (const char* name :
         {"plain.bson", "plain.cbor", "shortest.cbor", "plain.msgpack", "single.msgpack"}) {
        drawings.push_back(inData(std::string("infinite/") + name));
    }
    const json document = json::from_cbor(readBytes(data / "infinite/plain.cbor"));
    folder.write("plain.ubj", encoded(document, ".ubj"));
    folder.write("plain.jdb", encoded(document, ".jdb"));
    drawings.insert(drawings.end(), {"plain.ubj", "plain.jdb"});
    const json hit = {{"code", "4"},      {"distOrScore", 0.25}, {"handle", "4"},    {"index", 3},
                      {"name", "finite"}, {"shapeWeight", 0.0},  {"textWeight", 0.0}};
    const json expected = {{"blocks", {hit}},
                           {"stats",
                            {{"failedDrawings", 0},
                             {"resultBlocks", 1},
                             {"totalBlocks", 4},
                             {"totalDrawings", 1},
                             {"uniqueBlocks", 4}}}};
    for (const LoadMode& mode : loadModes) {
        for (const std::string& drawing : drawings) {
            SCOPED_TRACE(drawing);
            // Without a limit, only NaN and infinite distances are left out.
            for (const char* threshold : {"-inf", "-1e38", "0.3"}) {
                std::vector<std::string> arguments = mode.arguments("text");
                arguments.insert(arguments.end(), {"/min", threshold, "/topk", "-1"});
                EXPECT_EQ(hitsOf(folder, {drawing}, "numbers/query.json", arguments), expected);
            }
            EXPECT_EQ(hitsOf(folder, {drawing}, "numbers/query.json", mode.arguments("shape")),
                      expected);
        }
    }
}

TEST(Formats, AQueryOfNaNFindsNothing) {
    const TempFolder folder;
    json query = queryDocument();
    query["shape"][0][3] = std::numeric_limits<double>::quiet_NaN();
    query["text"][0][3] = std::numeric_limits<double>::infinity();
    writeList(folder, {inData("numbers/plain.cbor")});
    for (const std::string extension : {".bson", ".cbor", ".msgpack", ".ubj", ".jdb"}) {
        const std::string name = "query" + extension;
        folder.write(name, encoded(query, extension));
        for (const std::string method : {"shape", "text"}) {
            const ProgramResult result =
                runIn(folder, {"/encode", name, "/method", method, "/min", "-inf"});
            expectCleanEnd(result);
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(json::parse(resultText(folder)).at("blocks"), json());
        }
    }
}

// These encoders write NaN as null, which is not a number.
TEST(Formats, NullsInAVectorEndTheLoadOfTheDrawing) {
    const TempFolder folder;
    folder.write("query.json", queryDocument());
    const std::string text = noNumber("null");
    for (const LoadMode& mode : loadModes) {
        for (const char* name : {"plain.ubj", "plain.jdb"}) {
            const std::string path = inData(std::string("infinite/") + name);
            writeList(folder, {path});
            const ProgramResult result = runIn(folder, mode.arguments("shape"));
            expectCleanEnd(result);
            ConsoleText console;
            console.parallel = mode.parallel;
            const std::string out = maskTimes(result.out);
            if (mode.parallel) {
                EXPECT_EQ(out, console.untilFiles(1) + report(text));
            } else {
                const std::string start = console.untilFiles(1) +
                                          mode.failureLine(quoted(path), text) +
                                          ConsoleText::summary(1, 0, 0, 0) + "exception: Error in ";
                EXPECT_EQ(out.substr(0, start.size()), start);
            }
        }
    }
}

}  // namespace
}  // namespace quillon::test
