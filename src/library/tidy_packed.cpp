// The straight road from CBOR and MessagePack, for what their encoders write of a drawing and
// nothing else. Both are made of items that begin with a head: what the item is, and its value or
// length. A vector is a head and as many numbers, of one kind or, where an encoder shortens them,
// of several.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "library/block_key.h"
#include "library/tidy_drawing.h"
#include "shared/document_keys.h"

namespace quillon {
namespace {

/// Takes a document apart from the front.
struct Input {
    const char* at;
    const char* end;
    bool isCbor;

    std::size_t left() const { return static_cast<std::size_t>(end - at); }
};

enum class Kind { other, positive, negative, real, text, array, map };

struct Head {
    Kind kind = Kind::other;
    std::size_t size = 0;     // of the value behind the first byte
    std::uint64_t value = 0;  // the number, or -1 minus a negative one; bits of a float; a length
};

template <std::size_t size>
std::uint64_t bigEndian(const char* bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8U | static_cast<unsigned char>(bytes[i]);
    }
    return value;
}

Head cborHead(unsigned first) {
    constexpr std::array<Kind, 8> majorTypes{Kind::positive, Kind::negative, Kind::other,
                                             Kind::text,     Kind::array,    Kind::map,
                                             Kind::other,    Kind::real};
    const Kind kind = majorTypes[first >> 5U];
    const unsigned info = first & 0x1FU;
    // A float has 2 bytes at least: what has fewer are words.
    if (info > 27 || (kind == Kind::real && info < 25)) {
        return {};
    }
    return info < 24 ? Head{kind, 0, info} : Head{kind, std::size_t{1} << (info - 24)};
}

Head msgpackHead(unsigned first) {
    if (first < 0xC0) {
        return first < 0x80   ? Head{Kind::positive, 0, first}
               : first < 0x90 ? Head{Kind::map, 0, first & 0x0FU}
               : first < 0xA0 ? Head{Kind::array, 0, first & 0x0FU}
                              : Head{Kind::text, 0, first & 0x1FU};
    }
    if (first >= 0xE0) {
        return {Kind::negative, 0, 0xFF - first};
    }
    struct Long {
        unsigned first;  // of 1, 2, 4 and 8 bytes in turn, as far as there are such
        unsigned least;
        unsigned last;
        Kind kind;
    };
    constexpr std::array<Long, 5> longHeads{{{0xC8, 0xCA, 0xCB, Kind::real},
                                             {0xCC, 0xCC, 0xCF, Kind::positive},
                                             {0xD9, 0xD9, 0xDB, Kind::text},
                                             {0xDB, 0xDC, 0xDD, Kind::array},
                                             {0xDD, 0xDE, 0xDF, Kind::map}}};
    for (const auto& [ofOneByte, least, last, kind] : longHeads) {
        if (least <= first && first <= last) {
            return {kind, std::size_t{1} << (first - ofOneByte)};
        }
    }
    return {};
}

/// Of another kind where the input ends first.
Head takeHead(Input& input) {
    if (input.left() == 0) {
        return {};
    }
    const auto first = static_cast<unsigned char>(*input.at++);
    Head head = input.isCbor ? cborHead(first) : msgpackHead(first);
    if (input.left() < head.size) {
        return {};
    }
    if (head.size > 0) {
        head.value = head.size == 1   ? bigEndian<1>(input.at)
                     : head.size == 2 ? bigEndian<2>(input.at)
                     : head.size == 4 ? bigEndian<4>(input.at)
                                      : bigEndian<8>(input.at);
    }
    input.at += head.size;
    return head;
}

/// A NaN becomes a quiet one, as when the processor narrows it.
float singleOf(std::uint64_t bits) {
    const auto single = static_cast<std::uint32_t>(bits);
    return std::bit_cast<float>((single & 0x7FFFFFFFU) > 0x7F800000U ? single | 0x00400000U
                                                                     : single);
}

float wideOf(std::uint64_t bits) {
    return static_cast<float>(std::bit_cast<double>(bits));
}

float halfOf(std::uint64_t bits) {
    const auto exponent = static_cast<int>(bits >> 10U & 0x1FU);
    const auto mantissa = static_cast<float>(bits & 0x3FFU);
    const float value = exponent == 0   ? std::ldexp(mantissa, -24)
                        : exponent < 31 ? std::ldexp(mantissa + 1024.0F, exponent - 25)
                        : mantissa == 0 ? std::numeric_limits<float>::infinity()
                                        : std::numeric_limits<float>::quiet_NaN();
    return (bits & 0x8000U) != 0 ? -value : value;
}

/// Takes a number and narrows it from the type that its head gives it.
bool takeNumber(Input& input, float& number) {
    const auto [kind, size, value] = takeHead(input);
    if (kind == Kind::real) {
        number = size == 2 ? halfOf(value) : size == 4 ? singleOf(value) : wideOf(value);
        return true;
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    number = kind == Kind::positive ? static_cast<float>(value)
                                    : static_cast<float>(-1 - static_cast<std::int64_t>(value));
    return kind == Kind::positive || (kind == Kind::negative && value <= largest);
}

/// Takes the next numbers that have `head` and `size` bytes behind it, `most` at most. Returns how
/// many.
template <std::size_t size>
std::size_t takeAlike(Input& input, unsigned head, float* numbers, std::size_t most) {
    constexpr std::size_t stride = size + 1;
    const std::size_t count = std::min(most, input.left() / stride);
    std::size_t taken = 0;
    for (; taken < count && *input.at == static_cast<char>(head); ++taken) {
        const std::uint64_t bits = bigEndian<size>(input.at + 1);
        numbers[taken] = size == 4 ? singleOf(bits) : wideOf(bits);
        input.at += stride;
    }
    return taken;
}

bool takeVector(Input& input, GrowingRows& rows) {
    const std::size_t width = rows.rowWidth();
    const Head head = takeHead(input);
    if (head.kind != Kind::array || head.value != width) {
        return false;
    }
    float* row = rows.append();
    for (std::size_t taken = 0; taken < width;) {
        taken += takeAlike<4>(input, input.isCbor ? 0xFA : 0xCA, row + taken, width - taken);
        taken += takeAlike<8>(input, input.isCbor ? 0xFB : 0xCB, row + taken, width - taken);
        if (taken < width && !takeNumber(input, row[taken++])) {
            return false;
        }
    }
    return true;
}

std::optional<std::string_view> takeText(Input& input) {
    const Head head = takeHead(input);
    if (head.kind != Kind::text || head.value > input.left()) {
        return std::nullopt;
    }
    const std::string_view text(input.at, static_cast<std::size_t>(head.value));
    input.at += text.size();
    return text;
}

/// How many items an array has; none where there is no array, or no room for items of `itemBytes`
/// at least.
std::optional<std::size_t> takeCount(Input& input, std::size_t itemBytes) {
    const Head head = takeHead(input);
    if (head.kind != Kind::array || head.value > input.left() / itemBytes) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(head.value);
}

bool takeKeys(Input& input, std::vector<DrawingBlock>& blocks) {
    const std::optional<std::size_t> count = takeCount(input, 1);
    for (std::size_t i = 0; i < count.value_or(0); ++i) {
        const std::optional<std::string_view> key = takeText(input);
        if (!key || !hasThreeFields(*key)) {
            return false;
        }
        blocks.emplace_back().key = *key;
    }
    return count.has_value();
}

bool takeVectors(Input& input, GrowingRows& rows) {
    const std::optional<std::size_t> count = takeCount(input, rows.rowWidth());
    rows = GrowingRows(rows.rowWidth(), count.value_or(0));
    for (std::size_t i = 0; i < count.value_or(0); ++i) {
        if (!takeVector(input, rows)) {
            return false;
        }
    }
    return count.has_value();
}

}  // namespace

std::optional<DrawingBlocks> tidyPackedBlocks(std::string_view bytes,
                                              nlohmann::json::input_format_t format) {
    Input input{bytes.data(), bytes.data() + bytes.size(),
                format == nlohmann::json::input_format_t::cbor};
    const Head root = takeHead(input);
    if (root.kind != Kind::map || root.value != 3) {
        return std::nullopt;
    }
    DrawingBlocks drawing;
    std::array<bool, 3> seen{};
    const auto isFirst = [&](std::size_t member) { return !std::exchange(seen[member], true); };
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const std::optional<std::string_view> key = takeText(input);
        if (!(key == blocksKey  ? isFirst(0) && takeKeys(input, drawing.blocks)
              : key == shapeKey ? isFirst(1) && takeVectors(input, drawing.shapes)
              : key == textKey  ? isFirst(2) && takeVectors(input, drawing.texts)
                                : false)) {
            return std::nullopt;
        }
    }
    if (input.left() != 0 || !hasEqualLengths(drawing)) {
        return std::nullopt;
    }
    return drawing;
}

}  // namespace quillon
