// Guards the JSON library's binary readers, which recurse once a level and build whatever a file
// announces, against files made or damaged so as to exhaust the stack or the memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string_view>

#include "documents/binary_walk.h"

namespace quillon {

/// Containers inside containers. Documents of this tool need 3; the readers take about a kilobyte
/// of stack a level, and the smallest main-thread stack among the platforms is 1 MiB.
inline constexpr std::size_t maxBinaryNesting = 500;

/// Values without bytes of their own (UBJSON repeats a null or a boolean so) that a document may
/// hold whatever its size; beyond it, no more values than the file has bytes.
inline constexpr std::size_t freeBinaryValues = std::size_t{1} << 20U;

/// Counts values and nesting while a document is walked. Each function returns whether the document
/// is within the limits still, which is what the library's event interface wants to be told.
class BinaryLimits {
  public:
    explicit BinaryLimits(std::size_t fileBytes)
        : maxValues(std::max(fileBytes, freeBinaryValues)) {}

    bool value() { return ++values <= maxValues; }
    bool open() { return value() && ++depth <= maxBinaryNesting; }
    bool close() {
        --depth;
        return true;
    }

    std::size_t currentDepth() const { return depth; }
    bool tooDeep() const { return depth > maxBinaryNesting; }
    bool tooMany() const { return values > maxValues; }
    std::size_t valueLimit() const { return maxValues; }

  private:
    std::size_t maxValues;
    std::size_t values = 0;
    std::size_t depth = 0;
};

/// Throws std::runtime_error, naming the file and the limit, when one is exceeded.
void checkLimits(const BinaryLimits& limits, const std::filesystem::path& path);

/// Throws the same for what the walk takes of the stack.
[[noreturn]] void failForStack(const std::filesystem::path& path);

/// Sends a whole document's events to `events`, which has the member functions of the JSON
/// library's event interface and counts in its member `limits`. Returns false when an event did or
/// when the bytes do not parse, about which it says nothing. Throws std::runtime_error, naming the
/// file and the limit, for a document beyond one of them.
template <class Events>
bool walkWithinLimits(std::string_view bytes, nlohmann::json::input_format_t format,
                      const std::filesystem::path& path, Events& events) {
    bool isWhole = false;
    try {
        isWhole = walkBinary(bytes, format, events);
    } catch (const ReaderStackExceeded&) {
        failForStack(path);
    }
    checkLimits(events.limits, path);
    return isWhole;
}

/// Walks the document so, without building it.
void checkBinaryLimits(std::string_view bytes, nlohmann::json::input_format_t format,
                       const std::filesystem::path& path);

}  // namespace quillon
