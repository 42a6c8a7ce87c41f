#include "library/read_drawing.h"

#include <cstddef>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <system_error>

#include "documents/json_file.h"
#include "library/document_blocks.h"
#include "library/regular_drawing.h"
#include "shared/json_tree.h"

namespace quillon {
namespace {

/// Reads the whole file into `bytes`, with the padding that the JSON parser wants behind it.
/// Returns the file's size, or nothing when it can't be read in one go, whatever the reason.
std::optional<std::size_t> readBytes(const std::filesystem::path& path, std::vector<char>& bytes) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::streamoff>(stream.tellg());
    if (size < 0) {
        return std::nullopt;
    }
    const auto count = static_cast<std::size_t>(size);
    if (bytes.size() < count + simdjson::SIMDJSON_PADDING) {
        bytes.resize(count + simdjson::SIMDJSON_PADDING);
    }
    stream.seekg(0);
    if (!stream.read(bytes.data(), size)) {
        return std::nullopt;
    }
    return count;
}

std::optional<DrawingBlocks> readRegular(const std::filesystem::path& path, ReadBuffers& buffers) {
    const auto format = documentFormat(path);
    if (!format) {
        return std::nullopt;
    }
    const std::optional<std::size_t> size = readBytes(path, buffers.bytes);
    if (!size) {
        return std::nullopt;
    }
    if (*format == nlohmann::json::input_format_t::json) {
        return readRegularJson(buffers.parser, buffers.bytes.data(), *size);
    }
    return readRegularBinary(std::string_view(buffers.bytes.data(), *size), *format);
}

}  // namespace

DrawingBlocks readDrawing(const std::filesystem::path& path, ReadBuffers& buffers) {
    if (std::optional<DrawingBlocks> drawing = readRegular(path, buffers)) {
        return std::move(*drawing);
    }
    const JsonTree document(readJsonFile(path));
    return blocksOfDocument(document.root);
}

}  // namespace quillon
