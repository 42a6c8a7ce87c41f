#include "library/fetch_drawing.h"

#include <optional>
#include <string>
#include <utility>

#include "documents/json_file.h"
#include "library/document_blocks.h"
#include "library/fast_readers.h"
#include "shared/json_tree.h"
#include "shared/utf8_path.h"

namespace quillon {

using nlohmann::json;

EncodingsFile::EncodingsFile(const json& listed)
    : path(std::make_shared<const std::filesystem::path>(pathFromUtf8(listed.get<std::string>()))),
      input(*path),
      format(knownFormat(*path)) {}

Drawing decodeDrawing(const EncodingsFile& file, std::string_view bytes,
                      simdjson::dom::parser& parser) {
    std::optional<Drawing> drawing = readFast(bytes, file.format, *file.path, parser);
    if (!drawing) {
        const JsonTree document(parseDocument(bytes, file.format));
        drawing = blocksOfDocument(document.root);
    }
    drawing->path = file.path;
    return std::move(*drawing);
}

Drawing fetchDrawing(const json& listed, simdjson::dom::parser& parser) {
    EncodingsFile file(listed);
    const FileBytes bytes = file.input.readAll();
    return decodeDrawing(file, bytes.view(), parser);
}

}  // namespace quillon
