// Which documents take the fast path. What they turn into is compared with the generic path by
// the load's differential tests; without these here, a fast path that is never taken would pass
// them.
#include "library/fast_readers.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>
#include <string>

#include "documents/json_file.h"
#include "support/formats.h"
#include "support/odd_documents.h"

namespace quillon::test {
namespace {

using nlohmann::json;

std::optional<Drawing> blocksReadFast(const std::string& bytes, std::string_view extension) {
    simdjson::dom::parser parser;
    const std::filesystem::path path = "any" + std::string(extension);
    const std::string padded = bytes + std::string(simdjson::SIMDJSON_PADDING, '\0');
    try {
        return readFast(std::string_view(padded).substr(0, bytes.size()), knownFormat(path), path,
                        parser);
    } catch (const std::runtime_error&) {
        return std::nullopt;  // beyond a limit
    }
}

TEST(ReadFast, TakesWellFormedDocumentsInEveryFormat) {
    std::mt19937 random(1);
    for (const std::string_view extension : allExtensions) {
        const json document = wellFormedDocument(random);
        const auto drawing = blocksReadFast(encoded(document, extension), extension);
        ASSERT_TRUE(drawing) << extension;
        const std::size_t count = document["blocks"].size();
        ASSERT_EQ(drawing->blocks.size(), count);
        EXPECT_EQ(drawing->shapes.rowCount(), count);
        EXPECT_EQ(drawing->texts.rowCount(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(drawing->blocks[i].key, document["blocks"][i].get<std::string>());
            for (std::size_t c = 0; c < 512; ++c) {
                EXPECT_EQ(drawing->shapes.row(i)[c], document["shape"][i][c].get<float>());
            }
            for (std::size_t c = 0; c < 384; ++c) {
                EXPECT_EQ(drawing->texts.row(i)[c], document["text"][i][c].get<float>());
            }
        }
    }
}

TEST(ReadFast, LeavesEveryOtherDocumentToTheGenericPath) {
    std::mt19937 random(2);
    for (std::size_t kind = 0; kind < illFormedCount; ++kind) {
        json document = wellFormedDocument(random);
        const std::string name = makeIllFormed(document, kind, random);
        for (const std::string_view extension : allExtensions) {
            // Keys are not looked into beyond their fields, and JSON text has no nesting limit
            // here.
            const bool isStillWellFormed =
                name == "a key that is not UTF-8" ||
                (name == "another member nested too deeply" && extension == ".json");
            EXPECT_EQ(blocksReadFast(encoded(document, extension), extension).has_value(),
                      isStillWellFormed)
                << name << ", " << extension;
        }
    }
}

TEST(ReadFast, KeepsTheValuesOfNarrowAndWideNumbers) {
    // CBOR: an array of 512 elements, each a float of 16, 32 or 64 bits in turn, is spelled by
    // hand.
    std::string vector("\x99\x02\x00", 3);
    for (int i = 0; i < 512; ++i) {
        vector += i % 3 == 0   ? std::string("\xF9\x35\x55", 3)                           // 16 bits
                  : i % 3 == 1 ? std::string("\xFA\x3E\xAA\xAA\xAB", 5)                   // 32
                               : std::string("\xFB\x3F\xD5\x55\x55\x55\x55\x55\x55", 9);  // 64
    }
    std::string text("\x99\x01\x80", 3);
    text += std::string("\x1B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 9);  // the largest of 64 bits
    text.append(383, '\x20');                                        // -1
    const std::string bytes = "\xA3\x65shape\x81" + vector + "\x64text\x81" + text +
                              "\x66"
                              "blocks\x81\x65"
                              "a*b*c";
    const auto drawing = blocksReadFast(bytes, ".cbor");
    ASSERT_TRUE(drawing);
    EXPECT_EQ(drawing->shapes.row(0)[0], 0.333251953125F);
    EXPECT_EQ(drawing->shapes.row(0)[1], 0x1.555556p-2F);
    EXPECT_EQ(drawing->shapes.row(0)[2], 0x1.555556p-2F);
    EXPECT_EQ(drawing->texts.row(0)[0], 18446744073709551616.0F);
    EXPECT_EQ(drawing->texts.row(0)[383], -1.0F);
}

}  // namespace
}  // namespace quillon::test
