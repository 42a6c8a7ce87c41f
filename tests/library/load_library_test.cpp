// The load of a library from its list: lists and files that cannot be read, what is printed and
// counted, and the two matrices. Both modes of loading.
#include "library/load_library.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/documents.h"
#include "support/failure_texts.h"
#include "support/formats.h"
#include "support/load_outcome.h"
#include "support/temp_folder.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;
using namespace test;
using nlohmann::json;
using Keys = std::vector<std::string>;
using Floats = std::vector<float>;

constexpr bool parallel = true;
constexpr bool oneAtATime = false;

/// The type of exception that leaves the load, with `text` as its whole text and `console` printed
/// by then. Each mode behaves the same.
template <class Exception>
void expectFailure(const std::filesystem::path& list, const std::string& text,
                   const std::string& printed) {
    for (const bool mode : {parallel, oneAtATime}) {
        SCOPED_TRACE(mode ? "parallel" : "sequential");
        BlockLibrary library;
        const ConsoleCapture console;
        EXPECT_EQ(thrownText<Exception>([&] { loadBlockLibrary(list, mode, true, library); }),
                  text);
        EXPECT_EQ(console.text(), printed);
    }
}

TEST(LoadBlockLibrary, FailsWithoutAReadableList) {
    const TempFolder folder;
    const auto missing = folder.path() / "none.json";
    expectFailure<std::runtime_error>(missing, "fail to open input file: " + utf8FromPath(missing),
                                      "");
    const auto unknown = folder.write("list.txt", "{}"sv);
    expectFailure<std::runtime_error>(unknown,
                                      "Unknown input file format! " + utf8FromPath(unknown), "");
    expectFailure<json::parse_error>(
        folder.write("cut.cbor", "\xA1"sv),
        parseErrorText(110, "byte 2", "CBOR string: unexpected end of input"), "");
    const auto deep = folder.write("deep.ubj", std::string(1'000'000, '['));
    expectFailure<std::runtime_error>(
        deep, "document nested deeper than 500 levels: " + utf8FromPath(deep), "");
}

TEST(LoadBlockLibrary, FailsForAListThatIsNoObject) {
    const TempFolder folder;
    for (const auto& [text, type] : {std::pair{"[]", "array"},
                                     {R"(["a.json"])", "array"},
                                     {"null", "null"},
                                     {"\"files\"", "string"},
                                     {"3", "number"},
                                     {"false", "boolean"}}) {
        expectFailure<json::type_error>(folder.write("list.json", std::string_view(text)),
                                        noObject(type), "");
    }
}

TEST(LoadBlockLibrary, FailsForAListWithoutFiles) {
    const TempFolder folder;
    for (const std::string_view text : {"{}", R"({"Files":["a.json"]})"}) {
        expectFailure<json::out_of_range>(folder.write("list.json", text), noKey("files"), "");
    }
    for (const char* files : {"[]", "null", "{}"}) {
        const auto list = writeList(folder, json::parse(files));
        expectFailure<std::runtime_error>(list, "There are no files in " + utf8FromPath(list), "");
    }
}

TEST(LoadBlockLibrary, LoadsOneBlock) {
    const TempFolder folder;
    const auto list = writeLibrary(folder, {encodings({{"a*A*1", 7}})});
    for (const bool mode : {parallel, oneAtATime}) {
        const LoadOutcome outcome = load(list, mode);
        EXPECT_EQ(outcome.failure, "");
        EXPECT_EQ(outcome.console, progressLine(1, list) + summary(1, 1, 1, 0));
        EXPECT_EQ(outcome.library.shapeMatrix.shape(), (FeatureMatrix::shape_type{1, 512}));
        EXPECT_EQ(outcome.library.textMatrix.shape(), (FeatureMatrix::shape_type{1, 384}));
        EXPECT_EQ(blockKeys(outcome.library), Keys{"a*A*1"});
    }
}

#ifndef _WIN32  // which has no such names
TEST(LoadBlockLibrary, QuotesTheListInTheProgressLine) {
    const TempFolder folder;
    const std::string drawing = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    const auto list = folder.write(R"(my "Türen" \ list.json)", listDocument({drawing}));
    const std::string folderText = utf8FromPath(folder.path());
    EXPECT_EQ(load(list, parallel).console, "Loading encodings from 1 files in \"" + folderText +
                                                R"(/my \"Türen\" \\ list.json")"
                                                "\n" +
                                                summary(1, 1, 1, 0));
}
#endif

TEST(LoadBlockLibrary, TakesEntriesAsTheyStand) {
    const TempFolder folder;
    // Never relative to the list's folder.
    writeDrawing(folder, "beside-the-list.json", encodings({{"a*A*1", 1}}));
    const auto list = writeList(folder, {"beside-the-list.json"});
    const LoadOutcome outcome = load(list, parallel);
    EXPECT_EQ(outcome.failure, noEncodings);
    EXPECT_EQ(outcome.console,
              progressLine(1, list) + "Warning: fail to open input file: beside-the-list.json\n");
}

TEST(LoadBlockLibrary, KeepsThePathOfAnEntryUnchanged) {
    const TempFolder folder;
    writeDrawing(folder, "Türen/a.json", encodings({{"a*A*1", 1}}));
    const std::string entry = utf8FromPath(folder.path()) + "/./Türen//../Türen/a.json";
    const auto list = writeList(folder, {entry});
    for (const bool mode : {parallel, oneAtATime}) {
        const LoadOutcome outcome = load(list, mode);
        ASSERT_EQ(outcome.library.records.size(), 1U) << outcome.failure;
        EXPECT_EQ(utf8FromPath(*outcome.library.records[0].encodingsPath), entry);
    }
}

/// What a list entry is reported with when the file can't be loaded, in either mode.
struct BadEntry {
    json entry;
    std::string text;
};

std::vector<BadEntry> badEntries(const TempFolder& folder) {
    const std::string missing = utf8FromPath(folder.path() / "no \"such\".json");
    const std::string missingText = utf8FromPath(folder.path() / "missing.txt");
    const std::string unparsed = utf8FromPath(folder.write("cut.msgpack", "\x81"sv));
    const std::string deep = utf8FromPath(folder.write("deep.cbor", std::string(9999, '\x81')));
    std::vector<BadEntry> entries{
        {"", "fail to open input file: "},
        {missing, "fail to open input file: " + missing},
        {missingText, "fail to open input file: " + missingText},
        {unparsed, parseErrorText(110, "byte 2", "MessagePack string: unexpected end of input")},
        {deep, "document nested deeper than 500 levels: " + deep},
        {5, noString("number")},
        {-5, noString("number")},
        {1.5, noString("number")},
        {true, noString("boolean")},
        {nullptr, noString("null")},
        {json::array({"a.json"}), noString("array")},
        {json{{"path", "a.json"}}, noString("object")},
    };
    for (const char* name : {"drawing.dwg", "drawing.JSON", "drawing", ".json"}) {
        const std::string unknown = utf8FromPath(folder.write(name, encodings({{"a*A*1", 1}})));
        entries.push_back({unknown, "Unknown input file format! " + unknown});
    }
    return entries;
}

TEST(LoadBlockLibrary, SurvivesEveryEntryThatCannotBeRead) {
    const TempFolder folder;
    const std::string first = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    const std::string last = writeDrawing(folder, "b.json", encodings({{"b*B*1", 2}}));
    for (const auto& [entry, text] : badEntries(folder)) {
        SCOPED_TRACE(entry.dump());
        const auto list = writeList(folder, {first, entry, last});
        for (const bool mode : {parallel, oneAtATime}) {
            const LoadOutcome outcome = load(list, mode);
            EXPECT_EQ(outcome.failure, "");
            EXPECT_EQ(outcome.console,
                      progressLine(3, list) +
                          (mode ? "Warning: " + text + "\n" : failLine(entry, text)) +
                          summary(3, 2, 2, 0));
            EXPECT_EQ(outcome.library.counters.totalDrawings, 3U);
            EXPECT_EQ(outcome.library.counters.failedDrawings, 1U);
            EXPECT_EQ(blockKeys(outcome.library), (Keys{"a*A*1", "b*B*1"}));
            EXPECT_EQ(marks(outcome.library.shapeMatrix), (Floats{1, 2}));
        }
    }
}

TEST(LoadBlockLibrary, FailsAfterAMessageForEachWhenAllEntriesFail) {
    const TempFolder folder;
    json files;
    std::string warnings;
    std::string failLines;
    for (const auto& [entry, text] : badEntries(folder)) {
        files.push_back(entry);
        warnings += "Warning: " + text + "\n";
        failLines += failLine(entry, text);
    }
    const auto list = writeList(folder, files);
    for (const bool mode : {parallel, oneAtATime}) {
        const LoadOutcome outcome = load(list, mode);
        EXPECT_EQ(outcome.failure, noEncodings);
        EXPECT_EQ(outcome.console,
                  progressLine(files.size(), list) + (mode ? warnings : failLines));
        EXPECT_EQ(outcome.library.counters.failedDrawings, files.size());
    }
}

TEST(LoadBlockLibrary, PrintsWarningsInListOrderAndCountsThemAll) {
    const TempFolder folder;
    json files;
    std::string warnings;
    for (int i = 0; i < 500; ++i) {
        const std::string path = utf8FromPath(folder.path() / std::to_string(i)) + ".json";
        files.push_back(path);
        warnings += "Warning: fail to open input file: " + path + "\n";
    }
    const auto list = writeList(folder, files);
    const LoadOutcome outcome = load(list, parallel);
    EXPECT_EQ(outcome.failure, noEncodings);
    EXPECT_EQ(outcome.console, progressLine(500, list) + warnings);
    EXPECT_EQ(outcome.library.counters.failedDrawings, 500U);
}

TEST(LoadBlockLibrary, PrintsMessagesOfTheMergeInListOrder) {
    const TempFolder folder;
    json drawing = encodings({{"x*X*1", 1}, {"y*Y*1", 2}});
    drawing["text"][0] = nullptr;
    const std::string first = writeDrawing(folder, "a.json", drawing);
    drawing["blocks"][0] = "z*Z*1";
    const std::string last = writeDrawing(folder, "b.json", drawing);
    const auto list = writeList(folder, {first, 1, last, 2});
    const std::string text = noString("number");
    const std::string end = summary(4, 2, 1, 1);
    EXPECT_EQ(load(list, parallel).console,
              progressLine(4, list) + "Warning: " + text + "\nWarning: " + text +
                  "\nInvalid text vector for \"x*X*1\"\nInvalid text vector for \"z*Z*1\"\n" + end);
    EXPECT_EQ(load(list, oneAtATime).console,
              progressLine(4, list) + "Invalid text vector for \"x*X*1\"\n" + failLine(1, text) +
                  "Invalid text vector for \"z*Z*1\"\n" + failLine(2, text) + end);
}

TEST(LoadBlockLibrary, SkipsANullDocumentSilentlyInTheParallelModeOnly) {
    const TempFolder folder;
    const std::string good = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    for (const std::string extension : {".json", ".cbor", ".msgpack", ".ubj", ".jdb"}) {
        SCOPED_TRACE(extension);
        const std::string null =
            utf8FromPath(folder.write("null" + extension, encoded(nullptr, extension)));
        const auto list = writeList(folder, {null, good});
        LoadOutcome outcome = load(list, parallel);
        EXPECT_EQ(outcome.console, progressLine(2, list) + summary(2, 1, 1, 0));
        EXPECT_EQ(outcome.library.counters.failedDrawings, 0U);
        outcome = load(list, oneAtATime);
        EXPECT_EQ(outcome.console,
                  progressLine(2, list) + failLine(null, noObject("null")) + summary(2, 1, 1, 0));
        EXPECT_EQ(outcome.library.counters.failedDrawings, 1U);
    }
}

TEST(LoadBlockLibrary, TakesASingleStringForOneFileInOneAtATimeModeOnly) {
    const TempFolder folder;
    const std::string path = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    const auto list = writeList(folder, path);
    LoadOutcome outcome = load(list, oneAtATime);
    EXPECT_EQ(outcome.console, progressLine(1, list) + summary(1, 1, 1, 0));
    EXPECT_EQ(blockKeys(outcome.library), Keys{"a*A*1"});
    outcome = load(list, parallel);
    EXPECT_EQ(outcome.console, progressLine(1, list) + "Warning: " + noArray("string") + "\n");
    EXPECT_EQ(outcome.failure, noEncodings);
    EXPECT_EQ(outcome.library.counters.failedDrawings, 1U);
}

TEST(LoadBlockLibrary, WalksAnObjectOfFilesInKeyOrderInOneAtATimeModeOnly) {
    const TempFolder folder;
    const std::string a = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    const std::string b = writeDrawing(folder, "b.json", encodings({{"b*B*1", 2}}));
    const auto list = writeList(folder, {{"second", a}, {"first", b}, {"number", 7}});
    LoadOutcome outcome = load(list, oneAtATime);
    EXPECT_EQ(outcome.console,
              progressLine(3, list) + failLine(7, noString("number")) + summary(3, 2, 2, 0));
    EXPECT_EQ(blockKeys(outcome.library), (Keys{"b*B*1", "a*A*1"}));
    outcome = load(list, parallel);
    const std::string warning = "Warning: " + noArray("object") + "\n";
    EXPECT_EQ(outcome.console, progressLine(3, list) + warning + warning + warning);
    EXPECT_EQ(outcome.failure, noEncodings);
}

TEST(LoadBlockLibrary, RejectsANumberOrABooleanOfFiles) {
    const TempFolder folder;
    for (const auto& [files, type] : {std::pair{json(3), "number"}, {json(true), "boolean"}}) {
        const auto list = writeList(folder, files);
        LoadOutcome outcome = load(list, parallel);
        EXPECT_EQ(outcome.console, progressLine(1, list) + "Warning: " + noArray(type) + "\n");
        EXPECT_EQ(outcome.failure, noEncodings);
        outcome = load(list, oneAtATime);
        EXPECT_EQ(outcome.console, progressLine(1, list) + failLine(files, noString(type)));
        EXPECT_EQ(outcome.failure, noEncodings);
    }
}

TEST(LoadBlockLibrary, TakesADrawingWithoutBlocksForLoaded) {
    const TempFolder folder;
    const std::string good = writeDrawing(folder, "a.json", encodings({{"a*A*1", 1}}));
    for (const char* text : {R"({"blocks":[],"shape":[],"text":[]})", R"({"blocks":[]})",
                             R"({"blocks":[],"shape":5,"text":"x"})", R"({"blocks":null})",
                             R"({"blocks":{}})", R"({"blocks":{},"shape":[1]})"}) {
        SCOPED_TRACE(text);
        const std::string empty = writeDrawing(folder, "empty.json", json::parse(text));
        const auto alone = folder.write("alone.json", listDocument({empty}));
        for (const bool mode : {parallel, oneAtATime}) {
            const LoadOutcome outcome = load(alone, mode);
            EXPECT_EQ(outcome.console, progressLine(1, alone));
            EXPECT_EQ(outcome.failure, noEncodings);
        }
        const auto list = writeList(folder, {empty, good});
        for (const bool mode : {parallel, oneAtATime}) {
            const LoadOutcome outcome = load(list, mode);
            EXPECT_EQ(outcome.console, progressLine(2, list) + summary(2, 1, 1, 0));
            EXPECT_EQ(outcome.library.counters.failedDrawings, 0U);
        }
    }
}

TEST(LoadBlockLibrary, GivesTheSameLibraryInBothModes) {
    const TempFolder folder;
    json files;
    Keys keys;
    Floats shapeMarks;
    for (int i = 0; i < 60; ++i) {
        const std::string number = std::to_string(i);
        // Each drawing brings one block of its own and one that every third drawing has.
        const json document = encodings({{"own*" + number + "*1", i + 0.5},
                                         {"shared*s" + std::to_string(i % 3) + "*2", -1.0 * i}});
        const std::string extension =
            allExtensions[static_cast<std::size_t>(i) % allExtensions.size()];
        const auto path = folder.write(number + extension, encoded(document, extension));
        files.push_back(utf8FromPath(path));
        if (i % 10 == 7) {
            files.push_back(utf8FromPath(folder.path() / "none.json"));
        }
        keys.push_back("own*" + number + "*1");
        shapeMarks.push_back(static_cast<float>(i) + 0.5F);
        if (i < 3) {
            keys.push_back("shared*s" + number + "*2");
            shapeMarks.push_back(static_cast<float>(-i));
        }
    }
    const auto list = writeList(folder, files);
    const LoadOutcome first = load(list, parallel);
    const LoadOutcome second = load(list, oneAtATime);
    for (const LoadOutcome* outcome : {&first, &second}) {
        EXPECT_EQ(blockKeys(outcome->library), keys);
        EXPECT_EQ(marks(outcome->library.shapeMatrix), shapeMarks);
        EXPECT_EQ(outcome->library.counters.totalDrawings, 66U);
        EXPECT_EQ(outcome->library.counters.failedDrawings, 6U);
        EXPECT_EQ(outcome->library.counters.totalBlocks, 120U);
        EXPECT_EQ(outcome->library.counters.uniqueBlocks, 63U);
    }
    ASSERT_EQ(first.library.records.size(), second.library.records.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(*first.library.records[i].encodingsPath,
                  *second.library.records[i].encodingsPath);
    }
    EXPECT_TRUE(first.library.shapeMatrix == second.library.shapeMatrix);
    EXPECT_TRUE(first.library.textMatrix == second.library.textMatrix);
}

TEST(LoadBlockLibrary, KeepsEveryElementAsItStandsInItsRow) {
    const TempFolder folder;
    json document = encodings({{"a*A*1", 0}, {"zeros*Z*1", 0}, {"c*C*1", 0}});
    for (std::size_t i = 0; i < 512; ++i) {
        document["shape"][0][i] = i;
        document["shape"][2][i] = -static_cast<double>(i);
    }
    for (std::size_t i = 0; i < 384; ++i) {
        document["text"][0][i] = 1000 + i;
        document["text"][2][i] = static_cast<double>(i) * 0.25;
    }
    const double infinity = std::numeric_limits<double>::infinity();
    document["shape"][2][1] = std::numeric_limits<double>::quiet_NaN();
    document["shape"][2][2] = infinity;
    document["text"][2][383] = -infinity;
    const std::string path = utf8FromPath(folder.write("a.cbor", encoded(document, ".cbor")));
    const auto list = writeList(folder, {path});
    for (const bool mode : {parallel, oneAtATime}) {
        const LoadOutcome outcome = load(list, mode);
        const FeatureMatrix& shape = outcome.library.shapeMatrix;
        const FeatureMatrix& text = outcome.library.textMatrix;
        ASSERT_EQ(shape.shape(), (FeatureMatrix::shape_type{3, 512})) << outcome.failure;
        ASSERT_EQ(text.shape(), (FeatureMatrix::shape_type{3, 384}));
        for (std::size_t i = 0; i < 512; ++i) {
            EXPECT_EQ(shape(0, i), static_cast<float>(i));
            EXPECT_EQ(shape(1, i), 0.0F);
            if (i != 1 && i != 2) {
                EXPECT_EQ(shape(2, i), -static_cast<float>(i));
            }
        }
        for (std::size_t i = 0; i < 383; ++i) {
            EXPECT_EQ(text(0, i), 1000.0F + static_cast<float>(i));
            EXPECT_EQ(text(1, i), 0.0F);
            EXPECT_EQ(text(2, i), 0.25F * static_cast<float>(i));
        }
        EXPECT_TRUE(std::isnan(shape(2, 1)));
        EXPECT_EQ(shape(2, 2), std::numeric_limits<float>::infinity());
        EXPECT_EQ(text(2, 383), -std::numeric_limits<float>::infinity());
    }
}

}  // namespace
}  // namespace quillon
