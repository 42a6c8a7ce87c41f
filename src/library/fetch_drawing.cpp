#include "library/fetch_drawing.h"

#include <cstddef>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "documents/json_file.h"
#include "library/document_blocks.h"
#include "library/tidy_drawing.h"
#include "shared/json_tree.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;
using Format = json::input_format_t;

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

/// The tree road.
DrawingBlocks takeApart(json&& root) {
    const JsonTree document(std::move(root));
    return blocksOfDocument(document.root);
}

}  // namespace

ListedDrawing fetchDrawing(const json& listed, FetchBuffers& buffers) {
    ListedDrawing drawing;
    drawing.path =
        std::make_shared<const std::filesystem::path>(pathFromUtf8(listed.get<std::string>()));
    const std::filesystem::path& path = *drawing.path;
    const std::optional<Format> format = documentFormat(path);
    const std::optional<std::size_t> size = format ? readBytes(path, buffers.bytes) : std::nullopt;
    if (!size) {
        drawing.blocks = takeApart(readJsonFile(path));  // which says what is wrong, if anything is
        return drawing;
    }
    const std::string_view bytes(buffers.bytes.data(), *size);
    const bool isText = *format == Format::json;
    if (auto tidy = isText ? tidyJsonBlocks(bytes, buffers.parser)
                           : tidyBinaryBlocks(bytes, *format, path)) {
        drawing.blocks = std::move(*tidy);
        drawing.road = Road::straight;
    } else {
        drawing.blocks = takeApart(isText ? readJsonFile(path) : parseBinary(bytes, *format));
    }
    return drawing;
}

}  // namespace quillon
