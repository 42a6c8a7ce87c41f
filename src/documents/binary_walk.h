// The one way into the JSON library's binary readers. They recurse once a level, in places without
// an event (a CBOR string may hold chunks that hold chunks, a BJData size may be an array with a
// size), so bytes are handed to them through an iterator that watches how much stack they have
// taken.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>

namespace quillon {

/// What the readers may take of the stack, which has 8 MiB on every thread that reads. No document
/// within the nesting limit of binary_limits.h comes near it.
inline constexpr std::size_t maxReaderStackBytes = std::size_t{4} << 20U;

/// The lowest address that readers started at address `start` may reach. Some systems have stacks
/// so low that there is less below them.
constexpr std::uintptr_t lowestReaderStack(std::uintptr_t start) {
    return start - std::min<std::uintptr_t>(start, maxReaderStackBytes);
}

/// Thrown out of a reader that has taken more.
struct ReaderStackExceeded {};

class WatchedByte {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    /// Measures from the frame that calls it. Stacks grow down wherever this tool runs.
    explicit WatchedByte(const char* start) : byte(start) {
        const volatile char marker = 0;
        lowestStack = lowestReaderStack(reinterpret_cast<std::uintptr_t>(&marker));
    }

    reference operator*() const { return *byte; }
    WatchedByte& operator++() {
        const volatile char marker = 0;  // stands at the end of the stack
        if (reinterpret_cast<std::uintptr_t>(&marker) < lowestStack) {
            fail();
        }
        ++byte;
        return *this;
    }
    bool operator==(const WatchedByte& other) const { return byte == other.byte; }

  private:
    // Apart, so that the rest is small enough to be inlined.
    [[noreturn]] static void fail();

    const char* byte;
    std::uintptr_t lowestStack = 0;
};

/// Sends a whole document's events to `events`, which has the member functions of the library's
/// event interface. Returns false when an event did or when the bytes do not parse; throws
/// ReaderStackExceeded.
template <class Events>
bool walkBinary(std::string_view bytes, nlohmann::json::input_format_t format, Events& events) {
    return nlohmann::json::sax_parse(WatchedByte(bytes.data()),
                                     WatchedByte(bytes.data() + bytes.size()), &events, format);
}

}  // namespace quillon
