// The items of which CBOR and MessagePack are made. Each begins with a head: what the item is, and
// its value or length.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quillon {

/// What is left of a document; items are taken from the front.
struct PackedInput {
    const char* at;
    const char* end;
    bool isCbor;  // MessagePack otherwise

    std::size_t left() const { return static_cast<std::size_t>(end - at); }
};

enum class PackedKind { other, positive, negative, real, text, array, map };

struct PackedHead {
    PackedKind kind = PackedKind::other;
    std::size_t size = 0;     // of the value behind the first byte
    std::uint64_t value = 0;  // the number, or -1 minus a negative one; bits of a float; a length
};

/// Takes the head of the next item. It is `other` for what an encoder does not write of a drawing
/// (tags, open ends, extensions, words) and where the input ends first.
PackedHead takeHead(PackedInput& input);

/// Takes a vector of `width` numbers, 512 or 384, each narrowed to float32 from the type that its
/// head gives it. Returns false, with a part of them taken, when one of the items is no number or
/// the input ends first.
bool takeRow(PackedInput& input, float* row, std::size_t width);

}  // namespace quillon
