// Bytes that no encoder would write: sizes beyond the file, nesting without end, documents cut off,
// continued or changed. Reading them ends as the JSON library's own readers end, and where those
// would take the process along, in a failure of ours.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "documents/json_file.h"
#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/failure_texts.h"
#include "support/formats.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

using namespace std::string_literals;
using nlohmann::json;

struct HostileBytes {
    const char* label;
    const char* extension;
    std::string bytes;
};

/// `part` over and over, `size` bytes or a little more.
std::string filledWith(std::string_view part, std::size_t size) {
    std::string text;
    text.reserve(size + part.size());
    while (text.size() < size) {
        text += part;
    }
    return text;
}

/// Reads the bytes as a file and directly: both give one document or one failure. Returns the
/// failure's text, empty without one.
std::string expectSameReading(const TempFolder& folder, std::string_view extension,
                              const std::string& bytes) {
    const auto path = folder.write("hostile" + std::string(extension), bytes);
    json document;
    json expected;
    const std::string failure = failureOf([&] { document = readJsonFile(path); });
    EXPECT_EQ(failure, failureOf([&] { expected = decoded(bytes, extension); }));
    // Bytes and not values, since no NaN equals another.
    EXPECT_EQ(json::to_cbor(document), json::to_cbor(expected));
    return failure;
}

TEST(ReadJsonFile, BelievesNoAnnouncedSize) {
    const std::string largest32 = "\x7f\xff\xff\xff";
    const std::string largest64 = largest32 + "\xff\xff\xff\xff";
    const std::string largestLittle32 = "\xff\xff\xff\x7f";
    const std::string all32 = "\xff\xff\xff\xff";
    const std::string all64 = all32 + all32;
    const std::vector<HostileBytes> files{
        {"array of 2^32", ".cbor", "\x9a" + all32},
        {"array of 2^63", ".cbor", "\x9b" + largest64},
        {"array of 2^64", ".cbor", "\x9b" + all64},
        {"object of 2^32", ".cbor", "\xba" + all32},
        {"object of 2^63", ".cbor", "\xbb" + largest64},
        {"text of 2^32", ".cbor", "\x7a" + all32 + "text"},
        {"text of 2^64", ".cbor", "\x7b" + all64 + "text"},
        {"bytes of 2^32", ".cbor", "\x5a" + all32 + "text"},
        {"bytes of 2^64", ".cbor", "\x5b" + all64 + "text"},
        {"arrays in arrays", ".cbor", filledWith("\x9a" + all32, 2000)},
        {"array of 2^32", ".msgpack", "\xdd" + all32},
        {"object of 2^32", ".msgpack", "\xdf" + all32},
        {"text of 2^32", ".msgpack", "\xdb" + all32 + "text"},
        {"bytes of 2^32", ".msgpack", "\xc6" + all32 + "text"},
        {"extension of 2^32", ".msgpack", "\xc9" + all32 + "text"},
        {"arrays in arrays", ".msgpack", filledWith("\xdd" + all32, 2000)},
        {"document", ".bson", largestLittle32},
        {"text", ".bson", "\x20\0\0\0\x02k\0"s + largestLittle32 + "text\0\0"s},
        {"text of no size", ".bson", "\x20\0\0\0\x02k\0\0\0\0\0text\0\0"s},
        {"text of negative size", ".bson", "\x20\0\0\0\x02k\0"s + all32 + "text\0\0"s},
        {"bytes", ".bson", "\x20\0\0\0\x05k\0"s + largestLittle32 + "\0text\0"s},
        {"bytes of negative size", ".bson", "\x20\0\0\0\x05k\0"s + all32 + "\0text\0"s},
        {"array", ".bson", "\x20\0\0\0\x04k\0"s + largestLittle32},
        {"array", ".ubj", "[#l" + largest32},
        {"array of 2^63", ".ubj", "[#L" + largest64},
        {"array of negative size", ".ubj", "[#l" + all32},
        {"array of bytes", ".ubj", "[$U#l" + largest32 + "text"},
        {"array of arrays", ".ubj", "[$[#l" + largest32},
        {"array of texts", ".ubj", "[$S#L" + largest64},
        {"object", ".ubj", "{#l" + largest32},
        {"object of nulls", ".ubj", "{$Z#L" + largest64},
        {"text", ".ubj", "Sl" + largest32 + "text"},
        {"text of 2^63", ".ubj", "SL" + largest64 + "text"},
        {"text of negative size", ".ubj", "Sl" + all32 + "text"},
        {"precise number", ".ubj", "Hl" + largest32 + "1234"},
        {"array", ".jdb", "[#m" + all32},
        {"array of 2^64", ".jdb", "[#M" + all64},
        {"array of doubles", ".jdb", "[$d#M" + all32 + largestLittle32 + "text"},
        {"array of nulls", ".jdb", "[$Z#m" + all32},
        {"matrix", ".jdb", "[$d#[l" + largestLittle32 + "l" + largestLittle32 + "]"},
        {"matrix past 2^64", ".jdb", "[$U#[M\0\0\0\0\1\0\0\0M\1\0\0\0\1\0\0\0]"s},
        {"matrix of 2^64", ".jdb", "[$U#[M\0\0\0\0\1\0\0\0M\0\0\0\0\1\0\0\0]"s},
        {"dimensions", ".jdb", "[$U#[$U#m" + all32},
        {"text", ".jdb", "Sm" + all32 + "text"},
    };
    const TempFolder folder;
    for (const HostileBytes& file : files) {
        SCOPED_TRACE(std::string(file.label) + file.extension);
        EXPECT_NE(expectSameReading(folder, file.extension, file.bytes), "");
    }
}

constexpr std::size_t deepSize = 3'000'000;

TEST(ReadJsonFile, RefusesBinaryDocumentsNestedDeeply) {
    const std::vector<HostileBytes> files{
        {"arrays of one", ".cbor", filledWith("\x81", deepSize)},
        {"arrays of any length", ".cbor", filledWith("\x9f", deepSize)},
        {"arrays of announced length", ".cbor", filledWith("\x9a\0\0\0\1"s, deepSize)},
        {"objects of one", ".cbor", filledWith("\xa1\x61k", deepSize)},
        {"objects of any length", ".cbor", filledWith("\xbf\x60", deepSize)},
        {"arrays of one", ".msgpack", filledWith("\x91", deepSize)},
        {"arrays of announced length", ".msgpack", filledWith("\xdd\0\0\0\1"s, deepSize)},
        {"objects of one", ".msgpack", filledWith("\x81\xa1k", deepSize)},
        {"objects", ".bson", filledWith("\x7f\0\0\0\3\0"s, deepSize)},
        {"arrays", ".bson", filledWith("\x7f\0\0\0\4\x30\0"s, deepSize)},
        {"arrays", ".ubj", filledWith("[", deepSize)},
        {"counted arrays", ".ubj", filledWith("[#i\1", deepSize)},
        {"typed arrays", ".ubj", "[" + filledWith("$[#i\1", deepSize)},
        {"objects", ".ubj", filledWith("{i\1k", deepSize)},
        {"typed objects", ".ubj", "{" + filledWith("${#i\1i\1k", deepSize)},
        {"arrays", ".jdb", filledWith("[", deepSize)},
        {"counted arrays", ".jdb", filledWith("[#i\1", deepSize)},
        {"objects", ".jdb", filledWith("{i\1k", deepSize)},
    };
    const TempFolder folder;
    for (const HostileBytes& file : files) {
        SCOPED_TRACE(std::string(file.label) + file.extension);
        const auto path = folder.write(std::string("deep") + file.extension, file.bytes);
        EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(path); }),
                  "document nested deeper than 500 levels: " + utf8FromPath(path));
    }
}

// Strings may come in chunks and arrays with a list of dimensions. Neither may contain itself, but
// a reader that looks only after it has descended finds out too late.
TEST(ReadJsonFile, RefusesStringsAndDimensionsNestedDeeply) {
    const std::vector<HostileBytes> files{
        {"text in chunks", ".cbor", filledWith("\x7f", deepSize)},
        {"bytes in chunks", ".cbor", filledWith("\x5f", deepSize)},
        {"key in chunks", ".cbor", "\xbf" + filledWith("\x7f", deepSize)},
        {"counts that are arrays", ".jdb", "[" + filledWith("#[", deepSize)},
        {"counts that are typed arrays", ".jdb", "[" + filledWith("$U#[", deepSize)},
        {"counts of objects that are arrays", ".jdb", "{" + filledWith("#[", deepSize)},
    };
    const TempFolder folder;
    for (const HostileBytes& file : files) {
        SCOPED_TRACE(std::string(file.label) + file.extension);
        const auto path = folder.write(std::string("deep") + file.extension, file.bytes);
        EXPECT_EQ(thrownText<std::runtime_error>([&] { readJsonFile(path); }),
                  "document nested too deeply for 4 MiB of stack: " + utf8FromPath(path));
    }
}

TEST(ReadJsonFile, ReportsContentOutsideTheFormats) {
    const std::vector<HostileBytes> contents{
        {"number past all doubles", ".json", R"({"files":[1e999]})"},
        {"NaN", ".json", R"({"files":[NaN]})"},
        {"comment", ".json", R"({"files":[] /* none */})"},
        {"comma at the end", ".json", R"({"files":["good.json",]})"},
        {"single quotes", ".json", R"({'files':['good.json']})"},
        {"text that is not UTF-8", ".json", "{\"files\":[\"\xff\"]}"},
        {"line feed in a text", ".json", "{\"files\":[\"\n\"]}"},
        {"UTF-16", ".json", std::string("\xff\xfe[\0]\0", 6)},
        {"tag", ".cbor", "\xc0\x81\x01"},
        {"number as a key", ".cbor", "\xa1\x01\x01"},
        {"number as a key", ".msgpack", "\x81\x01\x01"},
        {"type that does not exist", ".msgpack", "\xc1"},
        {"expression", ".bson", std::string("\x10\0\0\0\x0bk\0.\0i\0\0", 12)},
        {"no number", ".ubj", "HU\3abc"},
        {"marker that does not exist", ".ubj", "[@]"},
        {"marker that does not exist", ".jdb", "[@]"},
    };
    const TempFolder folder;
    for (const HostileBytes& content : contents) {
        SCOPED_TRACE(std::string(content.label) + content.extension);
        EXPECT_NE(expectSameReading(folder, content.extension, content.bytes), "");
    }
    // Two of them, to show what a user sees.
    EXPECT_EQ(expectSameReading(folder, ".json", contents[0].bytes),
              "[json.exception.out_of_range.406] number overflow parsing '1e999'");
    EXPECT_EQ(expectSameReading(folder, ".cbor", contents[8].bytes),
              parseErrorText(112, "byte 1", "CBOR value: invalid byte: 0xC0"));
}

// Documents that other encoders have made.
TEST(ReadJsonFile, ReportsRealDocumentsCutOff) {
    const TempFolder folder;
    for (const std::string document : {"query", "list", "loose/wipeout_door.dxf/encodings"}) {
        for (const std::string extension : allExtensions) {
            SCOPED_TRACE(document + extension);
            const std::string bytes =
                readBytes(std::filesystem::path(QUILLON_SOURCE_DIR) / "tests/data" /
                          extension.substr(1) / (document + extension));
            for (std::size_t i = 0; i < 20; ++i) {
                const std::size_t size = bytes.size() * i / 20 + (i % 3 == 2 ? 1 : 0);
                EXPECT_NE(expectSameReading(folder, extension, bytes.substr(0, size)), "");
            }
        }
    }
}

TEST(ReadJsonFile, ReportsADocumentBehindADocument) {
    const TempFolder folder;
    for (const std::string extension : allExtensions) {
        const std::string bytes = encoded(encodings({{"good*G*1", 1.25}}), extension);
        const std::string failure = expectSameReading(folder, extension, bytes + bytes);
        EXPECT_TRUE(failure.starts_with(extension == ".json" ? "[json.exception.parse_error.101]"
                                                             : "[json.exception.parse_error.110]"))
            << failure;
    }
}

std::string randomBytes(std::mt19937_64& random, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes += static_cast<char>(random() & 0xFFU);
    }
    return bytes;
}

TEST(ReadJsonFile, ReportsRandomBytes) {
    const TempFolder folder;
    std::mt19937_64 random(20240517);
    std::size_t failures = 0;
    for (const std::string extension : allExtensions) {
        // Half of them begin like a document that is wanted.
        const std::string good = encoded(listDocument({"good.json"}), extension);
        for (std::size_t i = 0; i < 40; ++i) {
            SCOPED_TRACE(extension + " " + std::to_string(i));
            const std::string start = good.substr(0, i % 2 == 0 ? 0 : 1 + i / 2);
            const std::string bytes = start + randomBytes(random, 1 + i * i);
            failures += expectSameReading(folder, extension, bytes).empty() ? 0 : 1;
        }
    }
    EXPECT_GE(failures, 35 * allExtensions.size());
}

// One changed bit leaves anything from another number to another structure.
TEST(ReadJsonFile, ReadsOrReportsDocumentsWithAChangedBit) {
    const TempFolder folder;
    std::mt19937_64 random(20240518);
    std::size_t failures = 0;
    constexpr std::size_t changes = 20;
    for (const json& document :
         {queryDocument(), listDocument({"good.json"}), encodings({{"good*G*1", 1.25}})}) {
        for (const std::string extension : allExtensions) {
            const std::string whole = encoded(document, extension);
            for (std::size_t i = 0; i < changes; ++i) {
                SCOPED_TRACE(extension + " " + std::to_string(i));
                std::string bytes = whole;
                // Where the structure is: all but the long runs of zeros.
                const std::size_t place = random() % std::min<std::size_t>(bytes.size(), 40);
                char& byte = bytes[i % 2 == 0 ? place : bytes.size() - 1 - place];
                byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << (random() % 8)));
                failures += expectSameReading(folder, extension, bytes).empty() ? 0 : 1;
            }
        }
    }
    // Of 360: some are still documents.
    EXPECT_GT(failures, 60U);
    EXPECT_LT(failures, 300U);
}

}  // namespace
}  // namespace quillon::test
