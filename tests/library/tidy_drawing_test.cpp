// Which documents take the straight road. What they turn into is compared with the tree road by
// the load's differential tests; without these here, a road that is never taken would pass them.
#include "library/tidy_drawing.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>
#include <string>

#include "support/formats.h"
#include "support/odd_documents.h"

namespace quillon::test {
namespace {

using nlohmann::json;

std::optional<DrawingBlocks> tidyBlocks(const std::string& bytes, std::string_view extension) {
    using Format = json::input_format_t;
    if (extension == ".json") {
        simdjson::dom::parser parser;
        const std::string padded = bytes + std::string(simdjson::SIMDJSON_PADDING, '\0');
        return tidyJsonBlocks(std::string_view(padded).substr(0, bytes.size()), parser);
    }
    const Format format = extension == ".bson"      ? Format::bson
                          : extension == ".cbor"    ? Format::cbor
                          : extension == ".msgpack" ? Format::msgpack
                          : extension == ".ubj"     ? Format::ubjson
                                                    : Format::bjdata;
    try {
        return tidyBinaryBlocks(bytes, format, "any");
    } catch (const std::runtime_error&) {
        return std::nullopt;  // beyond a limit
    }
}

TEST(TidyBlocks, TakesTidyDocumentsInEveryFormat) {
    std::mt19937 random(1);
    for (const std::string_view extension : allExtensions) {
        const json document = tidyDocument(random);
        const auto drawing = tidyBlocks(encoded(document, extension), extension);
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

TEST(TidyBlocks, LeavesEveryUntidinessToTheTreeRoad) {
    std::mt19937 random(2);
    for (std::size_t kind = 0; kind < untidinessCount; ++kind) {
        json document = tidyDocument(random);
        const std::string name = makeUntidy(document, kind, random);
        for (const std::string_view extension : allExtensions) {
            // Keys are not looked into beyond their fields, and JSON text has no nesting limit
            // here.
            const bool isTidyStill =
                name == "a key that is not UTF-8" ||
                (name == "another member nested too deeply" && extension == ".json");
            EXPECT_EQ(tidyBlocks(encoded(document, extension), extension).has_value(), isTidyStill)
                << name << ", " << extension;
        }
    }
}

TEST(TidyBlocks, KeepsTheValuesOfNarrowAndWideNumbers) {
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
    const auto drawing = tidyBlocks(bytes, ".cbor");
    ASSERT_TRUE(drawing);
    EXPECT_EQ(drawing->shapes.row(0)[0], 0.333251953125F);
    EXPECT_EQ(drawing->shapes.row(0)[1], 0x1.555556p-2F);
    EXPECT_EQ(drawing->shapes.row(0)[2], 0x1.555556p-2F);
    EXPECT_EQ(drawing->texts.row(0)[0], 18446744073709551616.0F);
    EXPECT_EQ(drawing->texts.row(0)[383], -1.0F);
}

}  // namespace
}  // namespace quillon::test
