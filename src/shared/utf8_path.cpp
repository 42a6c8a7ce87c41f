#include "shared/utf8_path.h"

#ifdef _WIN32
#include <windows.h>

#include <stdexcept>
#include <system_error>

#include "shared/utf8.h"
#endif

namespace quillon {

namespace fs = std::filesystem;

fs::path pathFromUtf8(std::string_view text) {
#ifdef _WIN32
    if (!isUtf8(text)) {
        throw std::runtime_error("fail to open input file: " + std::string(text));
    }
#endif
    return {std::u8string(text.begin(), text.end())};
}

#ifdef _WIN32

// The system knows drives, shares and device paths. The standard library of mingw-w64 knows drives.
fs::path fullPath(const fs::path& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0 || length >= full.size()) {
        throw fs::filesystem_error(
            "absolute", path,
            std::error_code(static_cast<int>(GetLastError()), std::system_category()));
    }
    full.resize(length);
    return full;
}

#else

fs::path fullPath(const fs::path& path) {
    return fs::absolute(path).lexically_normal();
}

#endif

}  // namespace quillon
