// Paths: UTF-8 text into them and back, and their absolute form. A narrow string given to a path
// directly is taken for the platform's code page, which is not UTF-8 everywhere, so every
// conversion goes through here.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quillon {

/// Where paths are UTF-16, malformed UTF-8 becomes a path of a file that can neither be opened nor
/// made. Elsewhere it is a name like any other.
std::filesystem::path pathFromUtf8(std::string_view text);

/// The text that `path` was made of, malformed or not.
std::string utf8FromPath(const std::filesystem::path& path);

/// `path` from the root on, without "." and "..". The file system is not asked whether anything
/// exists. Throws std::filesystem::filesystem_error when the current directory is unknown.
std::filesystem::path fullPath(const std::filesystem::path& path);

}  // namespace quillon
