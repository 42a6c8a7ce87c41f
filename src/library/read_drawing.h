// Reads one encodings file and decides by which road.
#pragma once

#include <simdjson.h>
#include <filesystem>
#include <vector>

#include "library/drawing_blocks.h"

namespace quillon {

/// What one reading thread keeps from file to file, so that it is allocated once.
struct ReadBuffers {
    simdjson::dom::parser parser;
    std::vector<char> bytes;
};

/// A regular file (see regular_drawing.h) is turned into its blocks directly. Any other is read by
/// `readJsonFile`, whose exceptions pass through, and taken apart by `blocksOfDocument`. The result
/// does not tell which road was taken.
DrawingBlocks readDrawing(const std::filesystem::path& path, ReadBuffers& buffers);

}  // namespace quillon
