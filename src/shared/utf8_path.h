// Paths and UTF-8 text into each other. A narrow string given to a path directly is taken for the
// platform's code page, which is not UTF-8 everywhere, so every conversion goes through here.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quillon {

inline std::filesystem::path pathFromUtf8(std::string_view text) {
    return {std::u8string(text.begin(), text.end())};
}

inline std::string utf8FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace quillon
