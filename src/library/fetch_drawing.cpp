#include "library/fetch_drawing.h"

#include <optional>
#include <string>
#include <utility>

#include "documents/json_file.h"
#include "library/document_blocks.h"
#include "library/tidy_drawing.h"
#include "shared/json_tree.h"
#include "shared/utf8_path.h"

namespace quillon {

using nlohmann::json;
using Format = json::input_format_t;

EncodingsFile::EncodingsFile(const json& listed)
    : path(std::make_shared<const std::filesystem::path>(pathFromUtf8(listed.get<std::string>()))),
      input(*path),
      format(knownFormat(*path)) {}

ListedDrawing decodeDrawing(const EncodingsFile& file, std::string_view bytes,
                            simdjson::dom::parser& parser) {
    ListedDrawing drawing;
    drawing.path = file.path;
    if (auto tidy = file.format == Format::json
                        ? tidyJsonBlocks(bytes, parser)
                        : tidyBinaryBlocks(bytes, file.format, *file.path)) {
        drawing.blocks = std::move(*tidy);
        drawing.road = Road::straight;
    } else {
        const JsonTree document(parseDocument(bytes, file.format));
        drawing.blocks = blocksOfDocument(document.root);
    }
    return drawing;
}

ListedDrawing fetchDrawing(const json& listed, FetchBuffers& buffers) {
    EncodingsFile file(listed);
    file.input.readAll(buffers.bytes);
    return decodeDrawing(file, buffers.bytes.view(), buffers.parser);
}

}  // namespace quillon
