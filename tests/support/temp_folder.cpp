#include "support/temp_folder.h"

#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

#include "shared/utf8_path.h"

namespace quillon::test {

namespace fs = std::filesystem;

TempFolder::TempFolder()
    : folder(fs::temp_directory_path() / ("quillon-test-" + std::to_string(std::random_device{}()) +
                                          std::to_string(std::random_device{}()))) {
    fs::create_directories(folder);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

fs::path TempFolder::write(std::string_view name, std::string_view bytes) const {
    fs::path path = folder / pathFromUtf8(name);
    writeBytes(path, bytes);
    return path;
}

fs::path TempFolder::write(std::string_view name, const nlohmann::json& document) const {
    return write(name, std::string_view(document.dump()));
}

void writeBytes(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + utf8FromPath(path));
    }
}

std::string readBytes(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot read " + utf8FromPath(path));
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string readText(const fs::path& path) {
    const std::string bytes = readBytes(path);
#ifdef _WIN32
    std::string text;
    for (const char character : bytes) {
        if (character == '\n') {
            if (!text.ends_with('\r')) {
                throw std::runtime_error("a line feed alone in " + utf8FromPath(path));
            }
            text.pop_back();
        }
        text += character;
    }
    return text;
#else
    return bytes;
#endif
}

}  // namespace quillon::test
