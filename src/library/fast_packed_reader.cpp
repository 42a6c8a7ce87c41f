// The fast path from CBOR and MessagePack, for what their encoders write of a drawing and
// nothing else. Both are made of items that begin with a head: what the item is, and its value or
// length. A vector is a head and as many numbers, of one kind or, where an encoder shortens them,
// of several.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "library/block_key.h"
#include "library/fast_readers.h"
#include "shared/document_keys.h"

namespace quillon {
namespace {

/// Takes a document apart from the front.
struct Input {
    const char* at;
    const char* end;
    bool isCbor;

    std::size_t left() const { return static_cast<std::size_t>(end - at); }
    unsigned char singleHead() const { return isCbor ? 0xFA : 0xCA; }  // a double's is the next
};

enum class Kind { other, positive, negative, real, text, array, map };

struct Head {
    Kind kind = Kind::other;
    std::size_t size = 0;     // of the value behind the first byte
    std::uint64_t value = 0;  // the number, or -1 minus a negative one; bits of a float; a length
};

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
    const auto within = [&](Kind kind, unsigned mask) { return Head{kind, 0, first & mask}; };
    const auto behind = [&](Kind kind, unsigned firstOfOneByte) {
        return Head{kind, std::size_t{1} << (first - firstOfOneByte)};
    };
    return first < 0x80   ? within(Kind::positive, 0x7F)
           : first < 0x90 ? within(Kind::map, 0x0F)
           : first < 0xA0 ? within(Kind::array, 0x0F)
           : first < 0xC0 ? within(Kind::text, 0x1F)
           : first < 0xCA ? Head{}
           : first < 0xCC ? behind(Kind::real, 0xC8)
           : first < 0xD0 ? behind(Kind::positive, 0xCC)
           : first < 0xD9 ? Head{}
           : first < 0xDC ? behind(Kind::text, 0xD9)
           : first < 0xDE ? behind(Kind::array, 0xDB)
           : first < 0xE0 ? behind(Kind::map, 0xDD)
                          : Head{Kind::negative, 0, 0xFF - first};
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
    for (const char* const end = input.at + head.size; input.at != end; ++input.at) {
        head.value = head.value << 8U | static_cast<unsigned char>(*input.at);
    }
    return head;
}

/// A float or a double, the big end first.
template <typename Number>
float numberAt(const char* bytes) {
    static_assert(std::endian::native == std::endian::little);
    if constexpr (sizeof(Number) == 4) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, bytes, sizeof bits);
        return std::bit_cast<Number>(__builtin_bswap32(bits));
    } else {
        std::uint64_t bits = 0;
        std::memcpy(&bits, bytes, sizeof bits);
        return static_cast<float>(std::bit_cast<Number>(__builtin_bswap64(bits)));
    }
}

float halfOf(std::uint64_t bits) {
    const auto magnitude = static_cast<std::uint32_t>(bits & 0x7FFFU);
    // A half's exponent, in the place of a float's, is too small by the difference of their biases.
    const float value = magnitude < 0x7C00U    ? std::bit_cast<float>(magnitude << 13U) * 0x1p112F
                        : magnitude == 0x7C00U ? std::numeric_limits<float>::infinity()
                                               : std::numeric_limits<float>::quiet_NaN();
    return (bits & 0x8000U) != 0 ? -value : value;
}

/// A NaN becomes a quiet one, as when the processor narrows it.
float quiet(float number) {
    const auto bits = std::bit_cast<std::uint32_t>(number);
    return std::bit_cast<float>((bits & 0x7FFFFFFFU) > 0x7F800000U ? bits | 0x00400000U : bits);
}

/// Takes a number and narrows it from the type that its head gives it.
bool takeNumber(Input& input, float& number) {
    const auto [kind, size, value] = takeHead(input);
    if (kind == Kind::real) {
        number = size == 2   ? halfOf(value)
                 : size == 4 ? quiet(numberAt<float>(input.at - size))
                             : numberAt<double>(input.at - size);
        return true;
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    number = kind == Kind::positive ? static_cast<float>(value)
                                    : static_cast<float>(-1 - static_cast<std::int64_t>(value));
    return kind == Kind::positive || (kind == Kind::negative && value <= largest);
}

/// Whether each of `count` items of `stride` bytes begins with `head`. Compares all bytes, which a
/// processor does many at a time, and looks at the heads among them at the end.
template <std::size_t stride>
bool allBeginWith(unsigned char head, const char* items, std::size_t count) {
    constexpr std::size_t blockItems = 16;
    static_assert(shapeWidth % blockItems == 0 && textWidth % blockItems == 0);
    std::array<unsigned char, blockItems * stride> differences{};
    for (const char* block = items; block != items + count * stride; block += differences.size()) {
        for (std::size_t i = 0; i < differences.size(); ++i) {
            differences[i] |= static_cast<unsigned char>(block[i]) ^ head;
        }
    }
    unsigned char ofHeads = 0;
    for (std::size_t i = 0; i < differences.size(); i += stride) {
        ofHeads |= differences[i];
    }
    return ofHeads == 0;
}

/// Takes a row of numbers if all are of this type.
template <typename Number>
bool takeAlike(Input& input, float* row, std::size_t width) {
    constexpr std::size_t stride = sizeof(Number) + 1;
    const auto head = static_cast<unsigned char>(input.singleHead() + sizeof(Number) / 8);
    if (input.left() < width * stride || !allBeginWith<stride>(head, input.at, width)) {
        return false;
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < width; ++i) {
        row[i] = numberAt<Number>(input.at + stride * i + 1);
    }
    std::transform(row, row + width, row, quiet);
    input.at += width * stride;
    return true;
}

/// Takes floats up to the first number of another kind, `most` at most. Returns how many.
std::size_t takeFloats(Input& input, float* numbers, std::size_t most) {
    const auto head = static_cast<char>(input.singleHead());
    const std::size_t count = std::min(most, input.left() / 5);
    const char* at = input.at;
    std::size_t taken = 0;
    for (; taken < count && *at == head; ++taken, at += 5) {
        numbers[taken] = quiet(numberAt<float>(at + 1));
    }
    input.at = at;
    return taken;
}

bool takeVector(Input& input, GrowingRows& rows) {
    const std::size_t width = rows.rowWidth();
    const Head head = takeHead(input);
    if (head.kind != Kind::array || head.value != width) {
        return false;
    }
    float* row = rows.append();
    if (takeAlike<float>(input, row, width) || takeAlike<double>(input, row, width)) {
        return true;
    }
    for (std::size_t i = 0; i < width; ++i) {
        // Most numbers are floats where an encoder shortens what it can.
        i += takeFloats(input, row + i, width - i);
        if (i < width && !takeNumber(input, row[i])) {
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
    rows.reserve(count.value_or(0));
    for (std::size_t i = 0; i < count.value_or(0); ++i) {
        if (!takeVector(input, rows)) {
            return false;
        }
    }
    return count.has_value();
}

}  // namespace

std::optional<Drawing> readPackedFast(std::string_view bytes,
                                      nlohmann::json::input_format_t format) {
    Input input{bytes.data(), bytes.data() + bytes.size(),
                format == nlohmann::json::input_format_t::cbor};
    const Head root = takeHead(input);
    if (root.kind != Kind::map || root.value != 3) {
        return std::nullopt;
    }
    Drawing drawing;
    std::array<bool, 3> seen{};
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const std::optional<std::string_view> key = takeText(input);
        if (!(key == blocksKey ? !std::exchange(seen[0], true) && takeKeys(input, drawing.blocks)
              : key == shapeKey
                  ? !std::exchange(seen[1], true) && takeVectors(input, drawing.shapes)
              : key == textKey ? !std::exchange(seen[2], true) && takeVectors(input, drawing.texts)
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
