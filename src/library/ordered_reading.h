// Reads the entries of a file list on several threads and hands them over in list order.
#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>

#include "library/drawing_blocks.h"
#include "library/read_drawing.h"

namespace quillon {

/// One entry of the list: its drawing, or why it could not be read.
struct ReadEntry {
    std::shared_ptr<const std::filesystem::path> path;
    DrawingBlocks drawing;
    std::exception_ptr failure;
};

/// Reads the file that `entry`, a string of UTF-8, names. Throws type_error 302 when it is no
/// string, and what `readDrawing` throws.
ReadEntry readEntry(const nlohmann::json& entry, ReadBuffers& buffers);

/// Reads all entries of `files` and calls `consume` with each, on the calling thread, in list
/// order; failures of any type are handed over in the entry. The calling thread reads too while
/// nothing is ready for it. Entries read ahead of their turn are bounded in number and memory.
///
/// When the machine refuses an entry memory or a file descriptor, that entry and all behind it are
/// read on the calling thread alone, after everything else that reading holds has been let go of.
///
/// What `consume` throws ends the reading and leaves this function.
void readInOrder(const nlohmann::json& files, const std::function<void(ReadEntry&&)>& consume);

}  // namespace quillon
