#include "documents/input_file.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "shared/utf8_path.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace quillon {
namespace {

/// The most that one call reads, which takes no larger number on some systems.
constexpr std::size_t maxReadBytes = std::size_t{1} << 30U;

/// Room for what has no size, such as a pipe.
constexpr std::size_t firstRoom = std::size_t{1} << 16U;

}  // namespace

FileBytes InputFile::readAll() {
    FileBytes bytes;
    std::size_t room = 0;
    while (true) {
        if (bytes.size == room) {
            room = room != 0 ? 2 * room : std::max(fileSize, firstRoom);
            auto larger = std::make_unique_for_overwrite<char[]>(room + FileBytes::padding);
            std::copy_n(bytes.memory.get(), bytes.size, larger.get());
            bytes.memory = std::move(larger);
        }
        const std::size_t end = fileSize != 0 ? fileSize : room;
        const std::size_t count =
            readSome(bytes.memory.get() + bytes.size, std::min(end - bytes.size, maxReadBytes));
        bytes.size += count;
        if (count == 0 || bytes.size == fileSize) {
            return bytes;
        }
    }
}

#ifdef _WIN32

InputFile::InputFile(const std::filesystem::path& filePath) : InputFile() {
    path = filePath;
    // Without a flag for them, folders can't be opened.
    handle = reinterpret_cast<std::intptr_t>(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (handle == none) {
        fail();
    }
    LARGE_INTEGER bytes{};
    const auto file = reinterpret_cast<HANDLE>(handle);
    if (GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &bytes) == 0) {
        fail();
    }
    fileSize = static_cast<std::size_t>(bytes.QuadPart);
}

std::size_t InputFile::readSome(char* to, std::size_t most) {
    DWORD count = 0;
    // A pipe whose writer has gone ends with an error.
    if (ReadFile(reinterpret_cast<HANDLE>(handle), to, static_cast<DWORD>(most), &count, nullptr) ==
            0 &&
        GetLastError() != ERROR_BROKEN_PIPE) {
        fail();
    }
    return count;
}

InputFile::~InputFile() {
    if (handle != none) {
        CloseHandle(reinterpret_cast<HANDLE>(handle));
    }
}

void InputFile::fail() const {
    const DWORD error = GetLastError();
    if (error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY) {
        throw std::bad_alloc();
    }
    const std::string text = "fail to open input file: " + utf8FromPath(path);
    if (error == ERROR_TOO_MANY_OPEN_FILES) {
        throw TooManyOpenFiles(text);
    }
    throw std::runtime_error(text);
}

#else

InputFile::InputFile(const std::filesystem::path& filePath) : InputFile() {
    path = filePath;
    handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (handle == none) {
        fail();
    }
    struct stat status {};
    if (fstat(static_cast<int>(handle), &status) != 0) {
        fail();
    }
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        fail();
    }
    fileSize = S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
}

std::size_t InputFile::readSome(char* to, std::size_t most) {
    const ssize_t count = ::read(static_cast<int>(handle), to, most);
    if (count < 0) {
        fail();
    }
    return static_cast<std::size_t>(count);
}

InputFile::~InputFile() {
    if (handle != none) {
        ::close(static_cast<int>(handle));
    }
}

void InputFile::fail() const {
    const int error = errno;
    if (error == ENOMEM) {
        throw std::bad_alloc();
    }
    const std::string text = "fail to open input file: " + utf8FromPath(path);
    if (error == EMFILE || error == ENFILE) {
        throw TooManyOpenFiles(text);
    }
    throw std::runtime_error(text);
}

#endif

}  // namespace quillon
