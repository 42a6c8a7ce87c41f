// Files that are empty, missing, of no known format or no files at all, in every role, and output
// paths that can't be written.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "program/broken_files.h"
#include "program/program_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

TEST(BrokenFiles, EmptyFilesAreNoDocuments) {
    const TempFolder folder;
    writeGoodRun(folder);
    std::vector<BrokenFile> files;
    for (const std::string format : documentFormats) {
        writeBroken(folder, "empty", format, "", files);
    }
    ASSERT_EQ(files.size(), documentFormats.size());
    EXPECT_EQ(files[0].text,
              "[json.exception.parse_error.101] parse error at line 1, column 1: syntax error "
              "while parsing value - unexpected end of input; expected '[', '{', or a literal");
    for (const BrokenFile& file : files) {
        expectFailureAsQueryAndList(folder, file);
    }
    expectFailuresAsDrawings(folder, files);
}

TEST(BrokenFiles, FilesThatCannotBeOpenedAreNamed) {
    const TempFolder folder;
    writeGoodRun(folder);
    const std::vector<BrokenFile> files{
        {"missing.json", "fail to open input file: missing.json"},
        {"missing", "fail to open input file: missing"},
        {"missing/TÜR 90/椅子.cbor", "fail to open input file: missing/TÜR 90/椅子.cbor"},
        {"good.json/good.json", "fail to open input file: good.json/good.json"},
    };
    for (const BrokenFile& file : files) {
        expectFailureAsQueryAndList(folder, file);
    }
    expectFailuresAsDrawings(folder, files);
}

TEST(BrokenFiles, FilesWithoutAKnownExtensionAreNamed) {
    const TempFolder folder;
    writeGoodRun(folder);
    std::vector<BrokenFile> files;
    for (const std::string name : {"good", "good.JSON", "good.json.txt", ".json", "good.",
                                   "good.ubjson", "good.js", "椅子"}) {
        folder.write(name, drawingDocument({{"good*G*1", 1.25}}));
        files.push_back({name, "Unknown input file format! " + name});
        expectFailureAsQueryAndList(folder, files.back());
    }
    expectFailuresAsDrawings(folder, files);
}

TEST(BrokenFiles, UnreadableFilesCannotBeOpened) {
    const TempFolder folder;
    writeGoodRun(folder);
    const fs::path path = folder.write("locked.json", queryDocument());
    fs::permissions(path, fs::perms::none);
    if (std::ifstream(path)) {
        GTEST_SKIP() << "this user reads whatever the permissions say: root and Windows, where "
                        "they only keep files from being written, have no unreadable file";
    }
    const BrokenFile file{"locked.json", "fail to open input file: locked.json"};
    expectFailureAsQueryAndList(folder, file);
    expectFailuresAsDrawings(folder, {file});
}

// Whether the system opens a folder or not.
TEST(BrokenFiles, FoldersCannotBeOpened) {
    const TempFolder folder;
    writeGoodRun(folder);
    std::vector<BrokenFile> files;
    for (const std::string format : {"json", "bson", "cbor", "msgpack", "ubj", "jdb", "none"}) {
        const std::string name = "folder." + format;
        fs::create_directory(folder.path() / name);
        files.push_back({name, "fail to open input file: " + name});
        expectFailureAsQueryAndList(folder, files.back());
    }
    expectFailuresAsDrawings(folder, files);
}

TEST(BrokenFiles, OutputsThatCannotBeOpenedAreNamed) {
    const TempFolder folder;
    writeGoodRun(folder);
    fs::create_directory(folder.path() / "folder.json");
    for (const std::string name : {"missing/result.json", "missing/result.txt", "folder.json",
                                   "good.json/result.cbor", "missing/椅子.json"}) {
        ConsoleText console;
        console.output = '"' + name + '"';
        expectFailure(folder, {"/method", "shape", "/output", name},
                      console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) +
                          "Query time: T ms\n" + report("fail to open output file: " + name));
    }
    EXPECT_FALSE(fs::exists(folder.path() / "missing"));
}

// The file is emptied before its extension is looked at.
TEST(BrokenFiles, OutputsWithoutAKnownExtensionAreLeftEmpty) {
    const TempFolder folder;
    writeGoodRun(folder);
    for (const std::string name :
         {"result", "result.txt", "other.JSON", "other.json.", ".json"}) {
        SCOPED_TRACE(name);
        ConsoleText console;
        console.output = '"' + name + '"';
        for (const std::string_view before : {"", "earlier"}) {
            if (!before.empty()) {
                folder.write(name, before);
            }
            expectFailure(folder, {"/method", "shape", "/output", name},
                          console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) +
                              "Query time: T ms\n" + report("Unknown output file format! " + name));
            EXPECT_EQ(readBytes(folder.path() / name), "");
        }
    }
}

}  // namespace
}  // namespace quillon::test
