// A folder for one test, which is removed after it, and files in the folder.
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

    /// Writes `bytes` to the file `name` (UTF-8). Makes its folders.
    std::filesystem::path write(std::string_view name, std::string_view bytes) const;
    std::filesystem::path write(std::string_view name, const std::string& bytes) const {
        return write(name, std::string_view(bytes));
    }
    /// The document as compact JSON text.
    std::filesystem::path write(std::string_view name, const nlohmann::json& document) const;

  private:
    std::filesystem::path folder;
};

/// Makes the folders of the file.
void writeBytes(const std::filesystem::path& path, std::string_view bytes);

std::string readBytes(const std::filesystem::path& path);

/// Returns the text of a file with lines that end with a line feed. Throws if a line does not have
/// the line end of the system.
std::string readText(const std::filesystem::path& path);

}  // namespace quillon::test
