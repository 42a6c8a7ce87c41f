#include "shared/utf8_path.h"

#ifdef _WIN32
#include <windows.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <system_error>

#include "shared/utf8.h"
#endif

namespace quillon {

namespace fs = std::filesystem;

#ifdef _WIN32

// Malformed UTF-8 cannot be converted to UTF-16. Its path is this mark and one character for each
// byte. File names hold no "|", and no well-formed text becomes half a surrogate pair.
static constexpr std::array<wchar_t, 2> malformedMark{L'|', 0xDC00};

fs::path pathFromUtf8(std::string_view text) {
    if (isUtf8(text)) {
        return {std::u8string(text.begin(), text.end())};
    }
    std::wstring path(malformedMark.begin(), malformedMark.end());
    std::transform(text.begin(), text.end(), std::back_inserter(path),
                   [](char byte) { return static_cast<unsigned char>(byte); });
    return path;
}

std::string utf8FromPath(const fs::path& path) {
    std::wstring_view name = path.native();
    if (!name.starts_with(std::wstring_view(malformedMark.data(), malformedMark.size()))) {
        const std::u8string text = path.u8string();
        return {text.begin(), text.end()};
    }
    name.remove_prefix(malformedMark.size());
    std::string text;
    std::transform(name.begin(), name.end(), std::back_inserter(text),
                   [](wchar_t byte) { return static_cast<char>(byte); });
    return text;
}

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

fs::path pathFromUtf8(std::string_view text) {
    return {std::u8string(text.begin(), text.end())};
}

std::string utf8FromPath(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

fs::path fullPath(const fs::path& path) {
    return fs::absolute(path).lexically_normal();
}

#endif

}  // namespace quillon
