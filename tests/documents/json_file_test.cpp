// Documents as files: the six formats byte for byte, the choice by extension, and every failure.
#include "documents/json_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "shared/utf8_path.h"
#include "support/failure_texts.h"
#include "support/temp_folder.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using nlohmann::json;
using test::notUtf8;
using test::parseErrorText;
using test::readBytes;
using test::readText;
using test::TempFolder;
using test::thrownText;

struct Format {
    const char* extension;
    std::string_view bytes;
};

// One document in each format, put together by hand from the formats' descriptions. Its members
// are inserted in the other order. MessagePack and CBOR hold -1.5 in 32 bits, the others in 64.
const json sample = {{"n", 1}, {"m", {nullptr, true, -1.5, "é"}}};
const std::vector<Format> formats = {
    {".json", R"({"m":[null,true,-1.5,"é"],"n":1})"},
    {".bson",
     "\x30\0\0\0\x04m\0"
     "\x21\0\0\0\n0\0\b1\0\1\0012\0\0\0\0\0\0\0\xF8\xBF\0023\0\3\0\0\0\xC3\xA9\0\0"
     "\x10n\0\1\0\0\0\0"sv},
    {".cbor", "\xA2\x61m\x84\xF6\xF5\xFA\xBF\xC0\0\0\x62\xC3\xA9\x61n\1"sv},
    {".msgpack", "\x82\xA1m\x94\xC0\xC3\xCA\xBF\xC0\0\0\xA2\xC3\xA9\xA1n\1"sv},
    {".ubj", "{i\1m[ZTD\xBF\xF8\0\0\0\0\0\0Si\2\xC3\xA9]i\1ni\1}"sv},
    {".jdb", "{i\1m[ZTD\0\0\0\0\0\0\xF8\xBFSi\2\xC3\xA9]i\1ni\1}"sv},
};

bool isText(const Format& format) {
    return format.extension == ".json"sv;
}

TEST(ReadJsonFile, ReadsEachFormatByItsExtension) {
    const TempFolder folder;
    for (const Format& format : formats) {
        SCOPED_TRACE(format.extension);
        const fs::path path =
            folder.write(std::string("document") + format.extension, format.bytes);
        EXPECT_EQ(readJsonFile(path), sample);
    }
}

TEST(ReadJsonFile, CountsOnlyTheLastDot) {
    const TempFolder folder;
    EXPECT_EQ(readJsonFile(folder.write("a.b.json", "[1]"sv)), json({1}));
    EXPECT_EQ(readJsonFile(folder.write("a.json.cbor", "\x81\1"sv)), json({1}));
    EXPECT_EQ(readJsonFile(folder.write("Tür.ubj/椅子.json", "[1]"sv)), json({1}));
}

TEST(ReadJsonFile, AcceptsAValueOfAnyKind) {
    const TempFolder folder;
    for (const char* text : {"null", "3", "\"text\"", "[]", "{}", " \r\n\t true \n"}) {
        EXPECT_EQ(readJsonFile(folder.write("value.json", std::string_view(text))),
                  json::parse(text));
    }
    EXPECT_EQ(readJsonFile(folder.write("value.cbor", "\xF6"sv)), json());
}

TEST(ReadJsonFile, ReadsAndReleasesJsonTextOfAnyDepth) {
    const TempFolder folder;
    constexpr std::size_t depth = 200'000;
    const fs::path path =
        folder.write("deep.json", std::string(depth, '[') + std::string(depth, ']'));
    EXPECT_EQ(readJsonFile(path).size(), 1U);
}

TEST(ReadJsonFile, ReportsAFileThatCannotBeOpened) {
    const TempFolder folder;
    folder.write("file.json", "{}"sv);
    for (const char* name : {"none.json", "none.cbor", "none.txt", "none", "no/folder.json",
                             "no/TÜR 90/椅子.cbor", "file.json/file.json"}) {
        const fs::path path = folder.path() / pathFromUtf8(name);
        EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(path); }),
                  "fail to open input file: " + utf8FromPath(path));
    }
}

// Whether the system opens a folder or not.
TEST(ReadJsonFile, CannotOpenAFolder) {
    const TempFolder folder;
    for (const char* name : {"folder.json", "folder.bson", "folder.cbor", "folder.msgpack",
                             "folder.ubj", "folder.jdb", "folder.none"}) {
        const fs::path path = folder.path() / name;
        fs::create_directory(path);
        EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(path); }),
                  "fail to open input file: " + utf8FromPath(path));
    }
}

TEST(ReadJsonFile, ReportsAnUnknownExtension) {
    const TempFolder folder;
    for (const char* name : {"list.JSON", "list.Cbor", "list.json5", "list.jso", "list.txt", "list",
#ifndef _WIN32  // which has no such name
                             "blah \"q\".bin",
#endif
                             "list.", ".json", "list.json ", "l.cbor.gz", "list.json.txt",
                             "list.ubjson", "list.js", "椅子"}) {
        const fs::path path = folder.write(name, "[1]"sv);
        EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(path); }),
                  "Unknown input file format! " + utf8FromPath(path));
    }
}

TEST(ReadJsonFile, ReportsContentThatDoesNotParse) {
    const struct {
        const char* name;
        std::string_view bytes;
        int id;
        const char* position;
        const char* problem;
    } cases[] = {
        {"empty.json", "", 101, "line 1, column 1",
         "value - unexpected end of input; expected '[', '{', or a literal"},
        {"blank.json", " \n", 101, "line 2, column 1",
         "value - unexpected end of input; expected '[', '{', or a literal"},
        {"second.json", "[1] [2]", 101, "line 1, column 5",
         "value - unexpected '['; expected end of input"},
        {"comment.json", "[1] // one", 101, "line 1, column 5",
         "value - invalid literal; last read: '1] /'; expected end of input"},
        {"cut.json", "{\"files\": [", 101, "line 1, column 12",
         "value - unexpected end of input; expected '[', '{', or a literal"},
        {"nan.json", "[NaN]", 101, "line 1, column 2", "value - invalid literal; last read: '[N'"},
        {"utf8.json", "[\"\xFF\"]", 101, "line 1, column 3",
         "value - invalid string: ill-formed UTF-8 byte; last read: '\"\xFF'"},
        {"binary.json", "\x81\1", 101, "line 1, column 1",
         "value - invalid literal; last read: '\x81'"},
        {"empty.bson", "", 110, "byte 1", "BSON number: unexpected end of input"},
        {"empty.cbor", "", 110, "byte 1", "CBOR value: unexpected end of input"},
        {"empty.msgpack", "", 110, "byte 1", "MessagePack value: unexpected end of input"},
        {"empty.ubj", "", 110, "byte 1", "UBJSON value: unexpected end of input"},
        {"empty.jdb", "", 110, "byte 1", "BJData value: unexpected end of input"},
        {"trailing.bson", "\5\0\0\0\0\0"sv, 110, "byte 6",
         "BSON value: expected end of input; last byte: 0x00"},
        {"trailing.cbor", "\x81\1\1", 110, "byte 3",
         "CBOR value: expected end of input; last byte: 0x01"},
        {"trailing.msgpack", "\x91\1\1", 110, "byte 3",
         "MessagePack value: expected end of input; last byte: 0x01"},
        {"trailing.ubj", "[i\1]]", 110, "byte 5",
         "UBJSON value: expected end of input; last byte: 0x5D"},
        {"trailing.jdb", "[i\1]]", 110, "byte 5",
         "BJData value: expected end of input; last byte: 0x5D"},
        {"cut.bson", "\x0C\0\0\0\x10"sv, 110, "byte 6", "BSON cstring: unexpected end of input"},
        {"string.bson", "\x0E\0\0\0\2s\0\2\0\0\0x"sv, 110, "byte 13",
         "BSON string: unexpected end of input"},
        {"cut.cbor", "\x82\1", 110, "byte 3", "CBOR value: unexpected end of input"},
        {"cut.msgpack", "\x92\1", 110, "byte 3", "MessagePack value: unexpected end of input"},
        {"cut.ubj", "[i\1", 110, "byte 4", "UBJSON value: unexpected end of input"},
        {"cut.jdb", "[i\1", 110, "byte 4", "BJData value: unexpected end of input"},
        {"tag.cbor", "\xC1\1", 112, "byte 1", "CBOR value: invalid byte: 0xC1"},
        {"text.cbor", "[1]", 110, "byte 4", "CBOR number: unexpected end of input"},
        {"text.msgpack", "{}", 110, "byte 2",
         "MessagePack value: expected end of input; last byte: 0x7D"},
    };
    const TempFolder folder;
    for (const auto& [name, bytes, id, position, problem] : cases) {
        const fs::path path = folder.write(name, bytes);
        EXPECT_EQ(thrownText<json::parse_error>([&] { readJsonFile(path); }),
                  parseErrorText(id, position, problem))
            << name;
    }
}

TEST(ReadJsonFile, ReportsADocumentCutAnywhere) {
    const TempFolder folder;
    for (const Format& format : formats) {
        for (std::size_t size = 0; size < format.bytes.size(); ++size) {
            const fs::path path = folder.write(std::string("cut") + format.extension,
                                               std::string_view(format.bytes).substr(0, size));
            EXPECT_THROW(readJsonFile(path), json::parse_error) << format.extension << " " << size;
        }
    }
}

TEST(ReadJsonFile, ReportsABinaryDocumentNestedTooDeeply) {
    const TempFolder folder;
    for (const auto& [name, opening] : {std::pair{"deep.cbor", '\x81'},
                                        {"deep.msgpack", '\x91'},
                                        {"deep.ubj", '['},
                                        {"deep.jdb", '['}}) {
        const fs::path path = folder.write(name, std::string(3'000'000, opening));
        EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(path); }),
                  "document nested deeper than 500 levels: " + utf8FromPath(path));
    }
}

TEST(WriteJsonFile, WritesEachFormatByItsExtension) {
    const TempFolder folder;
    for (const Format& format : formats) {
        SCOPED_TRACE(format.extension);
        const fs::path path = folder.path() / (std::string("document") + format.extension);
        writeJsonFile(sample, path, false);
        EXPECT_EQ(readBytes(path), format.bytes);
    }
}

TEST(WriteJsonFile, IndentsJsonTextByFourBlanksALevel) {
    const TempFolder folder;
    const fs::path path = folder.path() / "pretty.json";
    writeJsonFile(sample, path, true);
    EXPECT_EQ(readText(path), R"({
    "m": [
        null,
        true,
        -1.5,
        "é"
    ],
    "n": 1
})");
}

TEST(WriteJsonFile, IgnoresPrettyInTheBinaryFormats) {
    const TempFolder folder;
    for (const Format& format : formats) {
        if (!isText(format)) {
            SCOPED_TRACE(format.extension);
            const fs::path path = folder.path() / (std::string("document") + format.extension);
            writeJsonFile(sample, path, true);
            EXPECT_EQ(readBytes(path), format.bytes);
        }
    }
}

TEST(WriteJsonFile, ReplacesWhatTheFileHeld) {
    const TempFolder folder;
    const fs::path path = folder.write("a.b.json", "something much longer than the document"sv);
    writeJsonFile({1}, path, false);
    EXPECT_EQ(readBytes(path), "[1]");
}

TEST(WriteJsonFile, WritesNumbersThatAreNotFiniteAsNullInJsonText) {
    const TempFolder folder;
    const fs::path path = folder.path() / "numbers.json";
    const double infinity = std::numeric_limits<double>::infinity();
    writeJsonFile({std::numeric_limits<double>::quiet_NaN(), infinity, -infinity}, path, false);
    EXPECT_EQ(readBytes(path), "[null,null,null]");
}

TEST(WriteJsonFile, ReportsAFileThatCannotBeOpened) {
    const TempFolder folder;
    folder.write("file.json", "{}"sv);
    fs::create_directory(folder.path() / "folder.json");
    for (const char* name : {"none/out.json", "none/out.cbor", "none/out.txt", "none/椅子.json",
                             "file.json/out.cbor", "folder.json"}) {
        const fs::path path = folder.path() / pathFromUtf8(name);
        EXPECT_EQ(thrownText<std::runtime_error>([&] { writeJsonFile(sample, path, false); }),
                  "fail to open output file: " + utf8FromPath(path));
        EXPECT_FALSE(fs::exists(folder.path() / "none"));
    }
}

TEST(WriteJsonFile, EmptiesAFileOfUnknownExtensionAndThenFails) {
    const TempFolder folder;
    for (const char* name : {"out.txt", "out.JSON", "out.json.", "out", ".json"}) {
        const fs::path path = folder.path() / name;
        for (const std::string_view before : {"", "an earlier result"}) {
            if (!before.empty()) {
                folder.write(name, before);
            }
            EXPECT_EQ(thrownText<std::runtime_error>([&] { writeJsonFile(sample, path, false); }),
                      "Unknown output file format! " + utf8FromPath(path));
            EXPECT_EQ(readBytes(path), "");
        }
    }
}

TEST(WriteJsonFile, LeavesWhatWasWrittenBeforeAnUnwritableValue) {
    const TempFolder folder;
    const fs::path path = folder.write("out.json", "an earlier result"sv);
    const json document = {{"a", 1}, {"b", "door\xFF"}};
    EXPECT_EQ(thrownText<json::type_error>([&] { writeJsonFile(document, path, false); }),
              notUtf8(4));
    EXPECT_THAT(readBytes(path), testing::StartsWith("{\"a\":1,\"b\":"));
}

TEST(WriteJsonFile, ReportsAValueThatBsonCannotHold) {
    const TempFolder folder;
    const fs::path path = folder.write("out.bson", "an earlier result"sv);
    EXPECT_EQ(thrownText<json::type_error>([&] { writeJsonFile({1}, path, false); }),
              "[json.exception.type_error.317] to serialize to BSON, top-level type must be "
              "object, but is array");
    EXPECT_EQ(readBytes(path), "");
}

}  // namespace
}  // namespace quillon
