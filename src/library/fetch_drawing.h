// Fetches the blocks of one listed drawing from its encodings file, and decides by which road.
#pragma once

#include <simdjson.h>
#include <exception>
#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <vector>

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

/// What one fetching thread keeps from drawing to drawing, so that it is allocated once.
struct FetchBuffers {
    simdjson::dom::parser parser;
    std::vector<char> bytes;
};

/// `listed`, an element of the file list, is the path of an encodings file in UTF-8. Throws
/// type_error 302 when it is no string, and what `readJsonFile` throws of the file; what is wrong
/// with a document's structure stands in the blocks.
ListedDrawing fetchDrawing(const nlohmann::json& listed, FetchBuffers& buffers);

}  // namespace quillon
