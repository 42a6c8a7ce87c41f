// Rows of numbers in CBOR and MessagePack: of one type or, where an encoder shortens them, of
// several.
#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "library/packed_items.h"
#include "shared/feature_matrix.h"

namespace quillon {
namespace {

// GCC and clang, the compilers that this is built with, know the instruction by these names.
std::uint32_t swapBytes(std::uint32_t bits) {
    return __builtin_bswap32(bits);
}
std::uint64_t swapBytes(std::uint64_t bits) {
    return __builtin_bswap64(bits);
}

/// A NaN becomes a quiet one, as when the processor narrows it.
float quiet(float number) {
    const auto bits = std::bit_cast<std::uint32_t>(number);
    return std::bit_cast<float>((bits & 0x7FFFFFFFU) > 0x7F800000U ? bits | 0x00400000U : bits);
}

/// A float (`Bits` of 32) or a double, the big end first.
template <typename Bits>
float realAt(const char* bytes) {
    static_assert(std::endian::native == std::endian::little);
    Bits bits = 0;
    std::memcpy(&bits, bytes, sizeof bits);
    if constexpr (sizeof(Bits) == 4) {
        return std::bit_cast<float>(swapBytes(bits));
    } else {
        return static_cast<float>(std::bit_cast<double>(swapBytes(bits)));
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

bool takeNumber(PackedInput& input, float& number) {
    const auto [kind, size, value] = takeHead(input);
    if (kind == PackedKind::real) {
        number = size == 2   ? halfOf(value)
                 : size == 4 ? quiet(realAt<std::uint32_t>(input.at - size))
                             : realAt<std::uint64_t>(input.at - size);
        return true;
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    number = kind == PackedKind::positive
                 ? static_cast<float>(value)
                 : static_cast<float>(-1 - static_cast<std::int64_t>(value));
    return kind == PackedKind::positive || (kind == PackedKind::negative && value <= largest);
}

/// The first byte of a float or, with `Bits` of 64, of a double.
template <typename Bits>
unsigned char headOf(const PackedInput& input) {
    return static_cast<unsigned char>((input.isCbor ? 0xFA : 0xCA) + sizeof(Bits) / 8);
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

/// Takes a row of floats, or of doubles, if all numbers are of this type.
template <typename Bits>
bool takeAlike(PackedInput& input, float* row, std::size_t width) {
    constexpr std::size_t stride = sizeof(Bits) + 1;
    if (input.left() < width * stride ||
        !allBeginWith<stride>(headOf<Bits>(input), input.at, width)) {
        return false;
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < width; ++i) {
        row[i] = realAt<Bits>(input.at + stride * i + 1);
    }
    std::transform(row, row + width, row, quiet);
    input.at += width * stride;
    return true;
}

/// Takes floats up to the first number of another type, `most` at most. Returns how many.
std::size_t takeFloats(PackedInput& input, float* numbers, std::size_t most) {
    const auto head = static_cast<char>(headOf<std::uint32_t>(input));
    const std::size_t count = std::min(most, input.left() / 5);
    const char* at = input.at;
    std::size_t taken = 0;
    for (; taken < count && *at == head; ++taken, at += 5) {
        numbers[taken] = quiet(realAt<std::uint32_t>(at + 1));
    }
    input.at = at;
    return taken;
}

}  // namespace

bool takeRow(PackedInput& input, float* row, std::size_t width) {
    if (takeAlike<std::uint32_t>(input, row, width) ||
        takeAlike<std::uint64_t>(input, row, width)) {
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

}  // namespace quillon
