// The quick reader of CBOR and MessagePack: what it takes, and that it takes nothing otherwise than
// by way of a tree, whatever is wrong with the bytes.
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents/json_file.h"
#include "library/document_blocks.h"
#include "library/fast_readers.h"

namespace quillon::test {
namespace {

using namespace std::string_literals;
using nlohmann::json;
using Format = json::input_format_t;

/// The heads of a document by hand, for the two formats alike.
struct Writer {
    Format format;

    bool isCbor() const { return format == Format::cbor; }
    std::string map(std::size_t count) const {
        return {static_cast<char>((isCbor() ? 0xA0U : 0x80U) + count)};
    }
    std::string array(std::size_t count) const {
        return {static_cast<char>(isCbor() ? 0x99 : 0xDC), static_cast<char>(count >> 8U),
                static_cast<char>(count & 0xFFU)};
    }
    std::string text(const std::string& text) const {
        return static_cast<char>((isCbor() ? 0x60U : 0xA0U) + text.size()) + text;
    }
    /// The numbers over and over.
    std::string vector(std::size_t width, const std::vector<std::string>& numbers) const {
        std::string bytes = array(width);
        for (std::size_t i = 0; i < width; ++i) {
            bytes += numbers[i % numbers.size()];
        }
        return bytes;
    }
    /// One block with such vectors.
    std::string drawing(const std::vector<std::string>& numbers) const {
        return map(3) + text("shape") + array(1) + vector(512, numbers) + text("blocks") +
               array(1) + text("name*code*handle") + text("text") + array(1) + vector(384, numbers);
    }
};

constexpr Format formats[] = {Format::cbor, Format::msgpack};

std::string bitsOf(const Drawing& drawing) {
    std::string bits;
    for (std::size_t i = 0; i < drawing.blocks.size(); ++i) {
        bits += drawing.blocks[i].key + '\n';
        bits.append(reinterpret_cast<const char*>(drawing.shapes.row(i)), 512 * sizeof(float));
        bits.append(reinterpret_cast<const char*>(drawing.texts.row(i)), 384 * sizeof(float));
    }
    return bits;
}

/// Nothing where the bytes don't parse or the drawing is not whole.
std::optional<std::string> bitsByTree(const std::string& bytes, Format format) {
    try {
        const Drawing drawing = blocksOfDocument(parseDocument(bytes, format));
        bool isWhole = !drawing.failure && drawing.diagnostics.empty();
        for (const DrawingBlock& block : drawing.blocks) {
            isWhole = isWhole && block.diagnostics.empty() && !block.failure;
        }
        return isWhole ? std::optional(bitsOf(drawing)) : std::nullopt;
    } catch (const json::exception&) {
        return std::nullopt;
    }
}

/// True when it is taken, and then as by the tree.
bool isTaken(const std::string& bytes, Format format) {
    // Where the bytes end, the memory does: what reads on is found out.
    const std::vector<char> exact(bytes.begin(), bytes.end());
    const auto drawing = readPackedFast(std::string_view(exact.data(), exact.size()), format);
    if (drawing) {
        const std::optional<std::string> expected = bitsByTree(bytes, format);
        EXPECT_TRUE(expected);
        EXPECT_TRUE(expected == bitsOf(*drawing));
    }
    return drawing.has_value();
}

std::vector<std::string> floatsOf(Format format) {
    const bool isCbor = format == Format::cbor;
    const std::string single = isCbor ? "\xFA" : "\xCA";
    const std::string wide = isCbor ? "\xFB" : "\xCB";
    return {single + "\x3F\x80\0\0"s,  // 1
            single + "\0\0\0\1"s,      // the smallest
            single + "\x80\0\0\0"s,    // -0
            single + "\xFF\x80\0\0"s,  // -infinity
            single + "\x7F\xA0\0\1"s,  // NaNs that signal
            single + "\xFF\xC0\0\2"s,  //
            wide + "\x3F\xD5\x55\x55\x55\x55\x55\x55"s,
            wide + "\x36\x9F\xFF\xFF\xFF\xFF\xFF\xFF"s,  // rounds up to the smallest float
            wide + "\x47\xEF\xFF\xFF\xF0\0\0\0"s,        // rounds to infinity
            wide + "\x7F\xF4\0\0\0\0\0\1"s,              // a NaN that signals
            wide + "\xFF\xF8\0\0\xE0\0\0\0"s};
}

std::vector<std::string> othersOf(Format format) {
    if (format == Format::msgpack) {
        return {"\0"s,
                "\x7F"s,
                "\xE0"s,
                "\xFF"s,
                "\xCC\xFF"s,
                "\xCD\xFF\xFE"s,
                "\xCE\xFF\xFF\xFF\x7F"s,
                "\xCF\xFF\xFF\xFF\x7F\xFF\xFF\xFF\xFF"s,
                "\xCF\0\x80\0\0\0\0\0\3"s};  // 2^55 + 3, which rounds twice by way of a double
    }
    return {"\0"s, "\x17"s, "\x18\xFF"s, "\x19\xFF\xFE"s, "\x1A\xFF\xFF\xFF\x7F"s,
            "\x1B\xFF\xFF\xFF\x7F\xFF\xFF\xFF\xFF"s, "\x1B\0\x80\0\0\0\0\0\3"s, "\x20"s, "\x37"s,
            "\x38\xFF"s, "\x39\xFF\xFE"s, "\x3A\xFF\xFF\xFF\x7F"s,
            "\x3B\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s,  // -2^63
            "\x3B\0\x80\0\0\0\0\0\2"s,
            // 16 bits: the smallest, the largest without the usual bit, 1, the largest, infinities,
            // NaNs.
            "\xF9\0\1"s, "\xF9\x03\xFF"s, "\xF9\x3C\0"s, "\xF9\xFB\xFF"s, "\xF9\x7C\0"s,
            "\xF9\xFC\0"s, "\xF9\x7C\1"s, "\xF9\xFE\0"s, "\xF9\x80\0"s};
}

TEST(ReadPackedFast, TakesNumbersOfOneKind) {
    for (const Format format : formats) {
        for (const std::string& number : floatsOf(format)) {
            EXPECT_TRUE(isTaken(Writer{format}.drawing({number}), format));
        }
        for (const std::string& number : othersOf(format)) {
            EXPECT_TRUE(isTaken(Writer{format}.drawing({number}), format));
        }
    }
}

TEST(ReadPackedFast, TakesNumbersOfManyKinds) {
    for (const Format format : formats) {
        std::vector<std::string> numbers = floatsOf(format);
        EXPECT_TRUE(isTaken(Writer{format}.drawing(numbers), format));
        for (const std::string& number : othersOf(format)) {
            numbers.push_back(number);
        }
        EXPECT_TRUE(isTaken(Writer{format}.drawing(numbers), format));
        // Many floats between numbers of another kind.
        std::vector<std::string> shortened(300, floatsOf(format).front());
        shortened.push_back(othersOf(format).front());
        EXPECT_TRUE(isTaken(Writer{format}.drawing(shortened), format));
    }
}

TEST(ReadPackedFast, TakesWhatTheLibraryWrites) {
    const json document = {{"blocks", {"a*b*c", "d*e*f*" + std::string(300, 'g')}},
                           {"shape", {std::vector<double>(512, 0.1), std::vector<int>(512, -7)}},
                           {"text", {std::vector<float>(384, 0.5F), std::vector<int>(384, 70000)}}};
    std::string bytes;
    json::to_cbor(document, bytes);
    EXPECT_TRUE(isTaken(bytes, Format::cbor));
    bytes.clear();
    json::to_msgpack(document, bytes);
    EXPECT_TRUE(isTaken(bytes, Format::msgpack));
    bytes.clear();
    json::to_cbor({{"blocks", json::array()}, {"shape", json::array()}, {"text", json::array()}},
                  bytes);
    EXPECT_TRUE(isTaken(bytes, Format::cbor));
}

TEST(ReadPackedFast, LeavesEveryOtherForm) {
    const Writer cbor{Format::cbor};
    const Writer msgpack{Format::msgpack};
    const std::string good = cbor.drawing({"\1"});
    ASSERT_TRUE(isTaken(good, Format::cbor));
    EXPECT_FALSE(isTaken("\xC1" + good, Format::cbor)) << "a tag";
    EXPECT_FALSE(isTaken("\xBF" + good.substr(1) + "\xFF", Format::cbor)) << "an open end";
    EXPECT_FALSE(isTaken(good + "\1", Format::cbor)) << "bytes behind";
    EXPECT_FALSE(isTaken("\xA4\x61x\1" + good.substr(1), Format::cbor)) << "another member";
    EXPECT_FALSE(isTaken("\xA2" + good.substr(1), Format::cbor)) << "a member too few";
    EXPECT_FALSE(isTaken(cbor.drawing({"\x3B\x80\0\0\0\0\0\0\0"s}), Format::cbor))
        << "a number below 64 bits";
    for (const std::string word : {"\xF4", "\xF6", "\xF7", "\xF8\x20", "\xE0", "\x41x"}) {
        EXPECT_FALSE(isTaken(cbor.drawing({"\1", word}), Format::cbor)) << "no number";
    }
    for (const std::string word : {"\xC0", "\xC2", "\xC1", "\xD4\1x", "\xC4\1x", "\xA1x"}) {
        EXPECT_FALSE(isTaken(msgpack.drawing({"\1", word}), Format::msgpack)) << "no number";
    }
    // A member twice, for each of the three.
    for (const Format format : formats) {
        const Writer writer{format};
        const std::string none = writer.array(0);
        for (const std::string twice : {"blocks", "shape", "text"}) {
            std::string bytes = writer.map(3);
            for (const std::string name : {"blocks", "shape", "text"}) {
                bytes += writer.text(name == "text" && twice == "text" ? "shape" : name) + none;
            }
            EXPECT_EQ(isTaken(bytes, format), twice != "text");
            bytes = writer.map(3) + writer.text(twice) + none + writer.text(twice) + none +
                    writer.text(twice == "text" ? "shape" : "text") + none;
            EXPECT_FALSE(isTaken(bytes, format));
        }
    }
}

// Sizes that the bytes can't hold are rejected before anything is made of that size.
TEST(ReadPackedFast, LeavesSizesThatCannotBe) {
    const std::string most = "\x9B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s;
    for (const char* member : {"\x66"
                               "blocks",
                               "\x65shape", "\x64text"}) {
        EXPECT_FALSE(isTaken("\xA3" + std::string(member) + most, Format::cbor)) << member;
        EXPECT_FALSE(
            isTaken("\xA3" + std::string(member) + "\x9A\x7F\xFF\xFF\xFF" + std::string(1000, '\1'),
                    Format::cbor))
            << member;
    }
    EXPECT_FALSE(isTaken("\xA3\x7B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFFshape", Format::cbor));
}

TEST(ReadPackedFast, TakesNoDamagedBytesOtherwiseThanTheTree) {
    for (const Format format : formats) {
        const std::string good = Writer{format}.drawing({"\1", "\2"});
        ASSERT_TRUE(isTaken(good, format));
        std::size_t taken = 0;
        for (std::size_t place = 0; place < good.size(); ++place) {
            SCOPED_TRACE(place);
            EXPECT_FALSE(isTaken(good.substr(0, place), format));
            for (const unsigned flipped : {0x01U, 0x20U, 0x80U, 0xE1U, 0xFFU}) {
                std::string bytes = good;
                bytes[place] =
                    static_cast<char>(static_cast<unsigned char>(bytes[place]) ^ flipped);
                taken += isTaken(bytes, format) ? 1U : 0U;
            }
        }
        EXPECT_GT(taken, 800U);
        EXPECT_LT(taken, 4 * good.size());
    }
}

}  // namespace
}  // namespace quillon::test
