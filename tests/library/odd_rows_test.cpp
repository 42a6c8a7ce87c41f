// Rows of CBOR and MessagePack in which one number is of another kind, and documents of all formats
// in which a member is given twice or is a text: what a reader that takes the usual form for
// granted would load as other numbers or other blocks.
#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "shared/feature_matrix.h"
#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/failure_texts.h"
#include "support/formats.h"
#include "support/load_outcome.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;

/// The last `count` bytes of `value`, the big end first.
std::string bigEnd(std::uint64_t value, std::size_t count) {
    std::string bytes;
    for (std::size_t i = count; i > 0; --i) {
        bytes += static_cast<char>(value >> 8U * (i - 1));
    }
    return bytes;
}

/// A kind of number that its first byte tells, and another one of the same size.
struct TwoKinds {
    std::string_view extension;
    unsigned char usual;  // a float of 32 bits or a double
    unsigned char other;  // a whole number
    std::uint64_t bits;   // that number's
    float number;         // and what it is
};

constexpr std::size_t blockCount = 512;

/// Column c of every row, but for the one number.
float usualNumber(std::size_t column) {
    return 1.0F + static_cast<float>(column) / 1024.0F;
}

/// `blockCount` rows. Row r has the other kind of number in column r modulo the width.
std::string rowsOf(const TwoKinds& kinds, std::size_t width) {
    const bool isCbor = kinds.extension == ".cbor";
    const bool isDouble = kinds.usual == 0xFB || kinds.usual == 0xCB;
    const std::size_t size = isDouble ? 8 : 4;
    const auto array = [&](std::size_t count) {
        return static_cast<char>(isCbor ? 0x99 : 0xDC) + bigEnd(count, 2);
    };
    std::string bytes = array(blockCount);
    for (std::size_t row = 0; row < blockCount; ++row) {
        bytes += array(width);
        for (std::size_t column = 0; column < width; ++column) {
            if (column == row % width) {
                bytes += static_cast<char>(kinds.other) + bigEnd(kinds.bits, size);
            } else {
                const float number = usualNumber(column);
                bytes += static_cast<char>(kinds.usual) +
                         bigEnd(isDouble ? std::bit_cast<std::uint64_t>(double{number})
                                         : std::bit_cast<std::uint32_t>(number),
                                size);
            }
        }
    }
    return bytes;
}

std::string keyOf(std::size_t block) {
    return "n*" + std::to_string(block) + "*1";
}

std::string documentOf(const TwoKinds& kinds) {
    std::vector<std::string> keys;
    for (std::size_t block = 0; block < blockCount; ++block) {
        keys.push_back(keyOf(block));
    }
    // The head of a map of three members, and a text of up to 15 bytes.
    const bool isCbor = kinds.extension == ".cbor";
    const auto name = [&](const std::string& text) {
        return static_cast<char>((isCbor ? 0x60U : 0xA0U) + text.size()) + text;
    };
    return static_cast<char>(isCbor ? 0xA3 : 0x83) + name("blocks") +
           encoded(keys, kinds.extension) + name("shape") + rowsOf(kinds, shapeWidth) +
           name("text") + rowsOf(kinds, textWidth);
}

std::size_t countOfWrongNumbers(const FeatureMatrix& matrix, const TwoKinds& kinds) {
    std::size_t count = 0;
    for (std::size_t row = 0; row < matrix.shape(0); ++row) {
        for (std::size_t column = 0; column < matrix.shape(1); ++column) {
            const bool isOther = column == row % matrix.shape(1);
            count +=
                matrix(row, column) != (isOther ? kinds.number : usualNumber(column)) ? 1U : 0U;
        }
    }
    return count;
}

TEST(LoadBlockLibrary, ReadsANumberOfAnotherKindAtEveryPlaceOfARow) {
    constexpr std::uint64_t minusOne = ~std::uint64_t{0};
    for (const TwoKinds& kinds :
         {TwoKinds{".cbor", 0xFA, 0x1A, 7, 7.0F}, TwoKinds{".cbor", 0xFA, 0x3A, 7, -8.0F},
          TwoKinds{".cbor", 0xFB, 0x1B, 7, 7.0F}, TwoKinds{".cbor", 0xFB, 0x3B, 7, -8.0F},
          TwoKinds{".msgpack", 0xCA, 0xCE, 7, 7.0F},
          TwoKinds{".msgpack", 0xCA, 0xD2, minusOne, -1.0F},
          TwoKinds{".msgpack", 0xCB, 0xCF, 7, 7.0F},
          TwoKinds{".msgpack", 0xCB, 0xD3, minusOne, -1.0F}}) {
        SCOPED_TRACE(std::string(kinds.extension) + " " + std::to_string(kinds.usual) + " " +
                     std::to_string(kinds.other));
        const TempFolder folder;
        const std::string path =
            utf8FromPath(folder.write("drawing" + std::string(kinds.extension), documentOf(kinds)));
        const LoadOutcome outcome = load(writeList(folder, {path}), true);
        EXPECT_EQ(outcome.failure, "");
        EXPECT_EQ(outcome.library.shapeMatrix.shape(0), blockCount);
        EXPECT_EQ(outcome.library.textMatrix.shape(0), blockCount);
        EXPECT_EQ(countOfWrongNumbers(outcome.library.shapeMatrix, kinds), 0U);
        EXPECT_EQ(countOfWrongNumbers(outcome.library.textMatrix, kinds), 0U);
    }
}

using Members = std::vector<std::pair<std::string, json>>;

/// A document of these members in their order, of which several may have one name.
std::string encodedMembers(const Members& members, std::string_view extension) {
    const std::size_t front = extension == ".bson" ? 4 : 1;  // the size, or the head of an object
    const std::size_t back = extension == ".cbor" || extension == ".msgpack" ? 0 : 1;
    std::string bytes;
    for (const auto& [name, value] : members) {
        const std::string alone = encoded({{name, value}}, extension);
        bytes += bytes.empty() || extension != ".json" ? "" : ",";
        bytes += alone.substr(front, alone.size() - front - back);
    }
    if (extension == ".bson") {
        const std::string size = bigEnd(bytes.size() + 5, 4);
        return std::string(size.rbegin(), size.rend()) + bytes + '\0';
    }
    if (extension == ".cbor" || extension == ".msgpack") {
        return static_cast<char>((extension == ".cbor" ? 0xA0U : 0x80U) + members.size()) + bytes;
    }
    return '{' + bytes + '}';
}

struct Loaded {
    std::vector<std::string> keys;
    std::vector<float> shapes;  // the first element of each row
    std::vector<float> texts;
    std::string diagnostic;
};

/// Loads a drawing of these members in every format, in both modes.
void expectLoaded(const Members& members, const Loaded& expected) {
    for (const std::string extension : allExtensions) {
        for (const bool parallel : {true, false}) {
            SCOPED_TRACE(extension + (parallel ? ", parallel" : ""));
            const TempFolder folder;
            const std::filesystem::path list =
                writeList(folder, {utf8FromPath(folder.write("drawing" + extension,
                                                             encodedMembers(members, extension)))});
            const LoadOutcome outcome = load(list, parallel);
            EXPECT_EQ(outcome.failure, "");
            EXPECT_EQ(outcome.console,
                      progressLine(1, list) + expected.diagnostic +
                          summary(1, expected.keys.size(), expected.keys.size(), 0));
            EXPECT_EQ(blockKeys(outcome.library), expected.keys);
            EXPECT_EQ(marks(outcome.library.shapeMatrix), expected.shapes);
            EXPECT_EQ(marks(outcome.library.textMatrix), expected.texts);
        }
    }
}

TEST(LoadBlockLibrary, TakesTheLastOfMembersGivenTwice) {
    const json first = encodings({{"a*A*1", 1.25}});
    const json second = encodings({{"b*B*2", 1.5}});
    const json both = encodings({{"a*A*1", 1.25}, {"b*B*2", 1.5}});
    const auto twice = [&](const std::string& name) {
        Members members{{name, first[name]}, {name, second[name]}};
        for (const std::string other : {"blocks", "shape", "text"}) {
            if (other != name) {
                members.emplace_back(other, both[other]);
            }
        }
        return members;
    };
    expectLoaded(twice("blocks"), {{"b*B*2"}, {1.25F}, {-1.25F}, ""});
    expectLoaded(twice("shape"),
                 {{"a*A*1"}, {1.5F}, {-1.25F}, "Invalid shape vector for \"b*B*2\"\n"});
    expectLoaded(twice("text"),
                 {{"a*A*1"}, {1.25F}, {-1.5F}, "Invalid text vector for \"b*B*2\"\n"});
    Members all;
    for (const json& document : {first, second}) {
        for (const auto& [name, value] : document.items()) {
            all.emplace_back(name, value);
        }
    }
    expectLoaded(all, {{"b*B*2"}, {1.5F}, {-1.5F}, ""});
}

TEST(LoadBlockLibrary, RefusesATextInThePlaceOfTheBlocks) {
    const json drawing = with(encodings({{"a*A*1", 1.25}}), "/blocks", "a*A*1");
    for (const std::string extension : allExtensions) {
        SCOPED_TRACE(extension);
        const TempFolder folder;
        const std::string path =
            utf8FromPath(folder.write("drawing" + extension, encoded(drawing, extension)));
        const std::filesystem::path list = writeList(folder, {path});
        const LoadOutcome parallel = load(list, true);
        EXPECT_EQ(parallel.failure, noArray("string"));
        EXPECT_EQ(parallel.console, progressLine(1, list));
        const LoadOutcome sequential = load(list, false);
        EXPECT_EQ(sequential.failure, noEncodings);
        EXPECT_EQ(sequential.console, progressLine(1, list) + failLine(path, noArray("string")));
    }
}

}  // namespace
}  // namespace quillon::test
