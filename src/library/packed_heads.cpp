// The first bytes of CBOR and of MessagePack items.
#include <array>

#include "library/packed_items.h"

namespace quillon {
namespace {

using Kind = PackedKind;

PackedHead cborHead(unsigned first) {
    constexpr std::array<Kind, 8> majorTypes{Kind::positive, Kind::negative, Kind::other,
                                             Kind::text,     Kind::array,    Kind::map,
                                             Kind::other,    Kind::real};
    const Kind kind = majorTypes[first >> 5U];
    const unsigned info = first & 0x1FU;
    // A float has 2 bytes at least: what has fewer are words.
    if (info > 27 || (kind == Kind::real && info < 25)) {
        return {};
    }
    return info < 24 ? PackedHead{kind, 0, info} : PackedHead{kind, std::size_t{1} << (info - 24)};
}

PackedHead msgpackHead(unsigned first) {
    const auto within = [&](Kind kind, unsigned mask) { return PackedHead{kind, 0, first & mask}; };
    const auto behind = [&](Kind kind, unsigned firstOfOneByte) {
        return PackedHead{kind, std::size_t{1} << (first - firstOfOneByte)};
    };
    return first < 0x80   ? within(Kind::positive, 0x7F)
           : first < 0x90 ? within(Kind::map, 0x0F)
           : first < 0xA0 ? within(Kind::array, 0x0F)
           : first < 0xC0 ? within(Kind::text, 0x1F)
           : first < 0xCA ? PackedHead{}
           : first < 0xCC ? behind(Kind::real, 0xC8)
           : first < 0xD0 ? behind(Kind::positive, 0xCC)
           : first < 0xD9 ? PackedHead{}
           : first < 0xDC ? behind(Kind::text, 0xD9)
           : first < 0xDE ? behind(Kind::array, 0xDB)
           : first < 0xE0 ? behind(Kind::map, 0xDD)
                          : PackedHead{Kind::negative, 0, 0xFF - first};
}

}  // namespace

PackedHead takeHead(PackedInput& input) {
    if (input.left() == 0) {
        return {};
    }
    const auto first = static_cast<unsigned char>(*input.at++);
    PackedHead head = input.isCbor ? cborHead(first) : msgpackHead(first);
    if (input.left() < head.size) {
        return {};
    }
    for (const char* const end = input.at + head.size; input.at != end; ++input.at) {
        head.value = head.value << 8U | static_cast<unsigned char>(*input.at);
    }
    return head;
}

}  // namespace quillon
