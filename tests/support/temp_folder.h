// A folder of its own for one test, gone with it, and files in it.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace quillon::test {

class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return folder; }

    /// Writes `bytes` to the file `name` (UTF-8, may lie in subfolders, which are made).
    std::filesystem::path write(std::string_view name, std::string_view bytes) const;
    std::filesystem::path write(std::string_view name, const std::string& bytes) const {
        return write(name, std::string_view(bytes));
    }
    /// The document as compact JSON text.
    std::filesystem::path write(std::string_view name, const nlohmann::json& document) const;

  private:
    std::filesystem::path folder;
};

/// Makes the folders that the file lies in.
void writeBytes(const std::filesystem::path& path, std::string_view bytes);

std::string readBytes(const std::filesystem::path& path);

/// What a text stream wrote, each line ending with a line feed alone. Throws where a line does not
/// end as the system's text streams end it.
std::string readText(const std::filesystem::path& path);

}  // namespace quillon::test
