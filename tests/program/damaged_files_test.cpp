// Files of a known format that do not parse: cut off, continued, random or changed, in every role.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "program/broken_files.h"
#include "program/program_folder.h"
#include "shared/utf8_path.h"

namespace quillon::test {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

/// The data of a real document, cut off at 20 places.
std::vector<BrokenFile> writeCuts(const TempFolder& folder, const std::string& document) {
    std::vector<BrokenFile> files;
    for (const std::string format : documentFormats) {
        const std::string bytes = readBytes(fs::path(QUILLON_SOURCE_DIR) / "tests/data" / format /
                                            pathFromUtf8(document + "." + format));
        for (std::size_t i = 0; i < 20; ++i) {
            const std::size_t size = bytes.size() * i / 20 + (i % 3 == 2 ? 1 : 0);
            writeBroken(folder, "cut-" + std::to_string(i), format, bytes.substr(0, size), files);
        }
    }
    EXPECT_EQ(files.size(), 20 * documentFormats.size());
    return files;
}

TEST(DamagedFiles, TruncatedDrawingsEndInAWarning) {
    const TempFolder folder;
    writeGoodRun(folder);
    expectFailuresAsDrawings(folder, writeCuts(folder, "loose/wipeout_door.dxf/encodings"));
}

TEST(DamagedFiles, TruncatedQueriesEndTheRun) {
    const TempFolder folder;
    writeGoodRun(folder);
    for (const BrokenFile& file : writeCuts(folder, "query")) {
        SCOPED_TRACE(file.name);
        ConsoleText console;
        console.query = '"' + file.name + '"';
        expectFailure(folder, {"/method", "shape", "/encode", file.name},
                      console.settings() + report(file.text));
    }
}

TEST(DamagedFiles, TruncatedListsEndTheRun) {
    const TempFolder folder;
    writeGoodRun(folder);
    for (const BrokenFile& file : writeCuts(folder, "list")) {
        SCOPED_TRACE(file.name);
        ConsoleText console;
        console.list = '"' + file.name + '"';
        expectFailure(folder, {"/method", "shape", "/filelist", file.name},
                      console.untilLoad() + report(file.text));
    }
}

// The exceptions are the JSON library's own; two of them stand here to show what a user sees.
TEST(DamagedFiles, ContentOutsideTheFormatsIsAFailure) {
    const std::vector<HostileBytes> contents{
        {"number past all doubles", "json", R"({"files":[1e999]})"},
        {"NaN", "json", R"({"files":[NaN]})"},
        {"comment", "json", R"({"files":[] /* none */})"},
        {"comma at the end", "json", R"({"files":["good.json",]})"},
        {"single quotes", "json", R"({'files':['good.json']})"},
        {"text that is not UTF-8", "json", "{\"files\":[\"\xff\"]}"},
        {"line feed in a text", "json", "{\"files\":[\"\n\"]}"},
        {"UTF-16", "json", std::string("\xff\xfe[\0]\0", 6)},
        {"tag", "cbor", "\xc0\x81\x01"},
        {"number as a key", "cbor", "\xa1\x01\x01"},
        {"number as a key", "msgpack", "\x81\x01\x01"},
        {"type that does not exist", "msgpack", "\xc1"},
        {"expression", "bson", std::string("\x10\0\0\0\x0bk\0.\0i\0\0", 12)},
        {"no number", "ubj", "HU\3abc"},
        {"marker that does not exist", "ubj", "[@]"},
        {"marker that does not exist", "jdb", "[@]"},
    };
    EXPECT_EQ(parseFailure(contents[0].bytes, "json"),
              "[json.exception.out_of_range.406] number overflow parsing '1e999'");
    EXPECT_EQ(parseFailure(contents[8].bytes, "cbor"),
              "[json.exception.parse_error.112] parse error at byte 1: syntax error while parsing "
              "CBOR value: invalid byte: 0xC0");
    const TempFolder folder;
    for (const HostileBytes& content : contents) {
        const std::string name = std::string("content.") + content.format;
        SCOPED_TRACE(name + " " + content.label);
        const std::string failure = parseFailure(content.bytes, content.format);
        ASSERT_NE(failure, "");
        folder.write(name, std::string_view(content.bytes));
        expectFailureInEveryRole(folder, {name, failure});
    }
}

TEST(DamagedFiles, ContentBehindADocumentIsAFailure) {
    const TempFolder folder;
    writeGoodRun(folder);
    std::vector<BrokenFile> files;
    for (const std::string format : documentFormats) {
        const std::string bytes = documentBytes(drawingDocument({{"good*G*1", 1.25}}), format);
        writeBroken(folder, "tail", format, bytes + bytes, files);
    }
    ASSERT_EQ(files.size(), documentFormats.size());
    for (const BrokenFile& file : files) {
        EXPECT_TRUE(file.text.starts_with(file.name == "tail.json"
                                              ? "[json.exception.parse_error.101]"
                                              : "[json.exception.parse_error.110]"))
            << file.text;
        expectFailureAsQueryAndList(folder, file);
    }
    expectFailuresAsDrawings(folder, files);
}

std::string randomBytes(std::mt19937_64& random, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes += static_cast<char>(random() & 0xFFU);
    }
    return bytes;
}

TEST(DamagedFiles, RandomBytesAreNoDocuments) {
    const TempFolder folder;
    writeGoodRun(folder);
    std::mt19937_64 random(20240517);
    std::vector<BrokenFile> files;
    for (const std::string format : documentFormats) {
        // Half of them begin like the document that is wanted.
        const std::string good = documentBytes(listDocument({"good.json"}), format);
        for (std::size_t i = 0; i < 40; ++i) {
            const std::string start = good.substr(0, i % 2 == 0 ? 0 : 1 + i / 2);
            writeBroken(folder, "random-" + std::to_string(i), format,
                        start + randomBytes(random, 1 + i * i), files);
        }
    }
    EXPECT_GE(files.size(), 35 * documentFormats.size());
    for (std::size_t i = 0; i < files.size(); i += 5) {
        expectFailureAsQueryAndList(folder, files[i]);
    }
    expectFailuresAsDrawings(folder, files);
}

// One changed byte leaves anything from another number to another structure.
TEST(DamagedFiles, ChangedBytesEndInOneReport) {
    const TempFolder folder;
    writeGoodRun(folder);
    std::mt19937_64 random(20240518);
    const std::vector<json> documents{queryDocument(), listDocument({"good.json"}),
                                      drawingDocument({{"good*G*1", 1.25}})};
    const std::vector<std::string> options{"/encode", "/filelist", ""};
    for (const std::string format : documentFormats) {
        for (std::size_t i = 0; i < 18; ++i) {
            std::string bytes = documentBytes(documents[i % 3], format);
            // Where the structure is: all but the long runs of zeros.
            const std::size_t place = random() % std::min<std::size_t>(bytes.size(), 40);
            char& byte = bytes[i % 2 == 0 ? place : bytes.size() - 1 - place];
            byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << (random() % 8)));
            const std::string name = "changed-" + std::to_string(i) + "." + format;
            SCOPED_TRACE(name);
            folder.write(name, std::string_view(bytes));
            folder.write("list.json", listDocument({options[i % 3].empty() ? name : "good.json"}));
            for (const LoadMode& mode : loadModes) {
                std::vector<std::string> arguments = mode.arguments("shape");
                if (!options[i % 3].empty()) {
                    arguments.insert(arguments.end(), {options[i % 3], name});
                }
                expectCleanEnd(runIn(folder, arguments));
            }
        }
    }
}

}  // namespace
}  // namespace quillon::test
