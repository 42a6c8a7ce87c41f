// The guards of the binary readers: nesting and announced sizes, exactly at and beyond the limits.
#include "documents/binary_limits.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "documents/binary_walk.h"
#include "documents/json_file.h"
#include "shared/utf8_path.h"
#include "support/failure_texts.h"
#include "support/temp_folder.h"

namespace quillon {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using nlohmann::json;
using Input = json::input_format_t;
using test::parseErrorText;
using test::TempFolder;
using test::thrownText;

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

std::string littleEndian32(std::size_t value) {
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>((value >> shift) & 0xFFU);
    }
    return bytes;
}

/// `depth` documents inside each other, made from the inside out.
std::string nestedBson(std::size_t depth) {
    std::string bytes = "\5\0\0\0\0"s;
    for (std::size_t i = 1; i < depth; ++i) {
        bytes.insert(0, littleEndian32(bytes.size() + 8) + "\3k\0"s);
        bytes += '\0';
    }
    return bytes;
}

struct NestedDocument {
    const char* extension;
    Input format;
    std::string bytes;
};

/// A document of `depth` containers in each binary format, arrays and objects.
std::vector<NestedDocument> nestedDocuments(std::size_t depth) {
    return {
        {".bson", Input::bson, nestedBson(depth)},
        {".cbor", Input::cbor, repeated("\x81", depth - 1) + "\x80"},
        {".cbor", Input::cbor, repeated("\xA1\x61k"sv, depth - 1) + "\xA0"},
        {".msgpack", Input::msgpack, repeated("\x91", depth - 1) + "\x90"},
        {".msgpack", Input::msgpack, repeated("\x81\xA1k"sv, depth - 1) + "\x80"},
        {".ubj", Input::ubjson, repeated("[", depth) + repeated("]", depth)},
        {".ubj", Input::ubjson, repeated("{i\1k", depth - 1) + "{" + repeated("}", depth)},
        {".jdb", Input::bjdata, repeated("[", depth) + repeated("]", depth)},
        {".jdb", Input::bjdata, repeated("{i\1k", depth - 1) + "{" + repeated("}", depth)},
    };
}

TEST(LowestReaderStack, LiesBelowTheStartButNotBelowZero) {
    EXPECT_EQ(lowestReaderStack(0x7FFF'F000'0000), 0x7FFF'EFC0'0000U);
    EXPECT_EQ(lowestReaderStack(maxReaderStackBytes), 0U);
    EXPECT_EQ(lowestReaderStack(0x21'F000), 0U);
}

TEST(CheckBinaryLimits, AcceptsTheDeepestAllowedNesting) {
    const TempFolder folder;
    for (const auto& [extension, format, bytes] : nestedDocuments(maxBinaryNesting)) {
        SCOPED_TRACE(extension);
        EXPECT_NO_THROW(checkBinaryLimits(bytes, format, "any"));
        const auto path = folder.write(std::string("deep") + extension, bytes);
        EXPECT_TRUE(readJsonFile(path).is_structured());
    }
}

TEST(CheckBinaryLimits, RefusesOneLevelMore) {
    const TempFolder folder;
    for (const auto& [extension, format, bytes] : nestedDocuments(maxBinaryNesting + 1)) {
        SCOPED_TRACE(extension);
        EXPECT_EQ(thrownText<std::runtime_error>([&, &content = bytes, input = format] {
                      checkBinaryLimits(content, input, pathFromUtf8("Tür/deep.x"));
                  }),
                  "document nested deeper than 500 levels: Tür/deep.x");
        const auto path = folder.write(std::string("deep") + extension, bytes);
        EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(path); }),
                  "document nested deeper than 500 levels: " + utf8FromPath(path));
    }
}

TEST(CheckBinaryLimits, CountsOpenContainersOnly) {
    const std::string wide = "[" + repeated("[[]]", 2 * maxBinaryNesting) + "]";
    EXPECT_NO_THROW(checkBinaryLimits(wide, Input::ubjson, "any"));
}

TEST(CheckBinaryLimits, SaysNothingOfContentThatDoesNotParse) {
    for (const Input format :
         {Input::bson, Input::cbor, Input::msgpack, Input::ubjson, Input::bjdata}) {
        for (const std::string_view bytes : {""sv, "\xFF\xFF\xFF\xFF\xFF"sv, "[[[1"sv, "{}{}"sv}) {
            EXPECT_NO_THROW(checkBinaryLimits(bytes, format, "any"));
        }
    }
}

/// An UBJSON array of `count` values of a type that takes no bytes.
std::string repeatedType(char type, std::size_t count) {
    const std::string little = littleEndian32(count);
    return std::string("[$") + type + "#l" + std::string(little.rbegin(), little.rend());
}

TEST(CheckBinaryLimits, BoundsTheValuesThatTakeNoBytes) {
    // The array itself is one of the values.
    EXPECT_NO_THROW(
        checkBinaryLimits(repeatedType('Z', freeBinaryValues - 1), Input::ubjson, "any"));
    for (const char type : {'Z', 'T', 'F'}) {
        EXPECT_EQ(thrownText<std::runtime_error>([&] {
                      checkBinaryLimits(repeatedType(type, freeBinaryValues), Input::ubjson,
                                        "big.ubj");
                  }),
                  "document announces more than 1048576 values: big.ubj");
    }
}

TEST(CheckBinaryLimits, AddsUpTheRepeatsOfOneDocument) {
    const std::string half = repeatedType('Z', freeBinaryValues / 2);
    // Though the document never ends.
    for (const char type : {'Z', 'T', 'F'}) {
        const std::string bytes = "{i\5files[" + repeated(repeatedType(type, 0x7FFFFFFF), 100);
        EXPECT_EQ(thrownText<std::runtime_error>(
                      [&] { checkBinaryLimits(bytes, Input::ubjson, "big.ubj"); }),
                  "document announces more than 1048576 values: big.ubj");
    }
    EXPECT_EQ(thrownText<std::runtime_error>(
                  [&] { checkBinaryLimits("[" + half + half + "]", Input::ubjson, "big.ubj"); }),
              "document announces more than 1048576 values: big.ubj");
}

TEST(CheckBinaryLimits, AllowsAsManyValuesAsTheFileHasBytes) {
    const std::string bytes = "[" + std::string(freeBinaryValues + 10, 'Z') + "]";
    EXPECT_NO_THROW(checkBinaryLimits(bytes, Input::ubjson, "any"));
}

TEST(ReadJsonFile, RefusesHugeAnnouncedSizes) {
    const TempFolder folder;
    const auto nulls = folder.write("nulls.ubj", repeatedType('Z', 0x7FFFFFFF));
    EXPECT_EQ(std::filesystem::file_size(nulls), 9U);
    EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(nulls); }),
              "document announces more than 1048576 values: " + utf8FromPath(nulls));

    const struct {
        const char* name;
        std::string_view bytes;
        int id;
        const char* position;
        const char* problem;
    } cases[] = {
        {"nulls.jdb", "[$Z#l\xFF\xFF\xFF\x7F", 112, "byte 3",
         "BJData type: marker 0x5A is not a permitted optimized array type"},
        {"numbers.jdb", "[$U#l\xFF\xFF\xFF\x7F", 110, "byte 10",
         "BJData number: unexpected end of input"},
        {"dimensions.jdb", "[$U#[$l#i\2\xFF\xFF\0\0\xFF\xFF\0\0"sv, 110, "byte 19",
         "BJData number: unexpected end of input"},
        {"numbers.ubj", "[$i#l\x7F\xFF\xFF\xFF", 110, "byte 10",
         "UBJSON number: unexpected end of input"},
        {"negative.ubj", "[#i\xFF", 113, "byte 4",
         "UBJSON size: count in an optimized container must be positive"},
        {"array.cbor", "\x9B\0\0\0\xFF\xFF\xFF\xFF\xFF"sv, 110, "byte 10",
         "CBOR value: unexpected end of input"},
        {"object.cbor", "\xBB\0\0\0\xFF\xFF\xFF\xFF\xFF"sv, 110, "byte 10",
         "CBOR string: unexpected end of input"},
        {"text.cbor", "\x7B\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 110, "byte 10",
         "CBOR string: unexpected end of input"},
        {"bytes.cbor", "\x5B\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 110, "byte 10",
         "CBOR binary: unexpected end of input"},
        {"array.msgpack", "\xDD\xFF\xFF\xFF\xFF", 110, "byte 6",
         "MessagePack value: unexpected end of input"},
        {"object.msgpack", "\xDF\xFF\xFF\xFF\xFF", 110, "byte 6",
         "MessagePack string: unexpected end of input"},
        {"text.msgpack", "\xDB\xFF\xFF\xFF\xFF", 110, "byte 6",
         "MessagePack string: unexpected end of input"},
        {"bytes.msgpack", "\xC6\xFF\xFF\xFF\xFF", 110, "byte 6",
         "MessagePack binary: unexpected end of input"},
        {"text.bson", "\xFF\xFF\xFF\x7F\2k\0\xFF\xFF\xFF\x7F"sv, 110, "byte 12",
         "BSON string: unexpected end of input"},
        {"bytes.bson", "\xFF\xFF\xFF\x7F\5k\0\xFF\xFF\xFF\x7F\0"sv, 110, "byte 13",
         "BSON binary: unexpected end of input"},
    };
    for (const auto& [name, bytes, id, position, problem] : cases) {
        const auto path = folder.write(name, bytes);
        EXPECT_EQ(thrownText<json::parse_error>([&] { readJsonFile(path); }),
                  parseErrorText(id, position, problem))
            << name;
    }
}

// The readers recurse there without an event, so that nothing counts the nesting but the stack.
TEST(CheckBinaryLimits, NamesTheStackWhereNestingIsNotCounted) {
    const struct {
        Input format;
        std::string bytes;
    } cases[] = {
        {Input::cbor, repeated("\x7F", 1000000)},    // a text of chunks that are texts of chunks
        {Input::cbor, repeated("\x5F", 1000000)},    // the same of bytes
        {Input::bjdata, repeated("[$i#", 1000000)},  // a size that is an array with a size
    };
    for (const auto& c : cases) {
        EXPECT_EQ(thrownText<std::runtime_error>(
                      [&] { checkBinaryLimits(c.bytes, c.format, pathFromUtf8("Tür/deep.x")); }),
                  "document nested too deeply for 4 MiB of stack: Tür/deep.x");
    }
}

}  // namespace
}  // namespace quillon
