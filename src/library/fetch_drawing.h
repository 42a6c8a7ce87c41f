// Fetches the blocks of one listed drawing from its encodings file: reads the file, then decodes
// the bytes. Several threads may do either at the same time.
#pragma once

#include <simdjson.h>
#include <exception>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "documents/input_file.h"
#include "library/drawing_blocks.h"

namespace quillon {

/// The straight road takes tidy files (see tidy_drawing.h) from bytes to blocks; the tree road
/// makes a document of any other and takes that apart, check by check. Both are exact: where both
/// are open, they lead to the same blocks.
enum class Road { straight, tree };

/// One drawing of the file list: its blocks, or why they could not be fetched.
struct ListedDrawing {
    std::shared_ptr<const std::filesystem::path> path;
    DrawingBlocks blocks;
    Road road = Road::tree;  // for tests, since nothing else tells
    std::exception_ptr failure;
};

/// The encodings file that `listed`, an element of the file list, names in UTF-8, open. Throws
/// type_error 302 when `listed` is no string, and what `InputFile` and `knownFormat` throw.
struct EncodingsFile {
    explicit EncodingsFile(const nlohmann::json& listed);

    std::shared_ptr<const std::filesystem::path> path;
    InputFile input;
    nlohmann::json::input_format_t format;
};

/// Takes the blocks out of the file's bytes. Throws what `checkBinaryLimits` and `parseDocument`
/// throw; what is wrong with a document's structure stands in the blocks.
ListedDrawing decodeDrawing(const EncodingsFile& file, std::string_view bytes,
                            simdjson::dom::parser& parser);

/// What is kept from drawing to drawing, so that it is allocated once.
struct FetchBuffers {
    simdjson::dom::parser parser;
    FileBytes bytes;
};

/// Opens, reads and decodes.
ListedDrawing fetchDrawing(const nlohmann::json& listed, FetchBuffers& buffers);

}  // namespace quillon
