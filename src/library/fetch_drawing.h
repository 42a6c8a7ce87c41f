// Fetches the blocks of one listed drawing: opens its encodings file, reads and decodes it. Several
// threads may do so at the same time.
#pragma once

#include <simdjson.h>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "documents/input_file.h"
#include "library/drawing.h"

namespace quillon {

/// The encodings file that `listed`, an element of the file list, names in UTF-8, open. Throws
/// type_error 302 when `listed` is no string, and what `InputFile` and `knownFormat` throw.
struct EncodingsFile {
    explicit EncodingsFile(const nlohmann::json& listed);

    std::shared_ptr<const std::filesystem::path> path;
    InputFile input;
    nlohmann::json::input_format_t format;
};

/// Takes the blocks out of the file's bytes: of a well-formed file by the fast path, of any other
/// by the generic path. Throws what `checkBinaryLimits` and `parseDocument` throw; the failure of a
/// document of a wrong structure is in the drawing.
Drawing decodeDrawing(const EncodingsFile& file, std::string_view bytes,
                      simdjson::dom::parser& parser);

/// Opens, reads and decodes. Throws what these throw.
Drawing fetchDrawing(const nlohmann::json& listed, simdjson::dom::parser& parser);

}  // namespace quillon
