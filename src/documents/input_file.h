// A file that is read whole in as few calls as the system needs: one to open it, one for its size,
// one to read and one to close. On a file share each of them waits for the network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace quillon {

/// The content of a file.
struct FileBytes {
    /// Readable bytes of any value behind the content. The JSON parser reads that far.
    static constexpr std::size_t padding = 64;

    std::string_view view() const { return {memory.get(), size}; }

    std::unique_ptr<char[]> memory;
    std::size_t size = 0;  // without the padding
};

/// Thrown for a file that can't be opened now, because too many are open.
struct TooManyOpenFiles : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws std::runtime_error, "fail to open input file: " and the path, for whatever can't be
/// opened or read, folders included; TooManyOpenFiles or std::bad_alloc where the system lacks the
/// means. Calls on several threads do not disturb each other.
class InputFile {
  public:
    explicit InputFile(const std::filesystem::path& filePath);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    /// In bytes, as the file was opened; 0 for a pipe or a device, which have no size.
    std::size_t size() const { return fileSize; }

    /// The content up to the size, or to the end where there is no size.
    FileBytes readAll();

  private:
    InputFile() = default;
    std::size_t readSome(char* to, std::size_t most);
    [[noreturn]] void fail() const;

    static constexpr std::intptr_t none = -1;
    std::intptr_t handle = none;
    std::size_t fileSize = 0;
    std::filesystem::path path;
};

}  // namespace quillon
