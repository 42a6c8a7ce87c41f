// Guards the JSON library's binary readers, which recurse once a level and build whatever a file
// announces, against files made or damaged so as to exhaust the stack or the memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string_view>

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

    bool value(std::size_t count = 1) { return (values += count) <= maxValues; }
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

/// Walks the document without building it. Throws std::runtime_error, naming the file and the
/// limit, for a document beyond one of them. Says nothing about content that does not parse.
void checkBinaryLimits(std::string_view bytes, nlohmann::json::input_format_t format,
                       const std::filesystem::path& path);

}  // namespace quillon
