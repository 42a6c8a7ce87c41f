// Loads the block library that a file list names.
#pragma once

#include <filesystem>

#include "library/block_library.h"

namespace quillon {

/// Reads the list and every encodings file in it, merges the blocks in list order and leaves them
/// in `library`, which must be empty. Rows, records and counts depend on the list and the files
/// alone, not on threads. The vectors of a side that is not kept are checked all the same. Prints
/// the progress line, one message for each failure, and the summary.
///
/// With `parallelLoad` the files are read on several threads: a file that can't be read or parsed
/// is a warning, printed in list order ahead of everything the merge prints; one of a wrong
/// structure ends the load. Without it they are read sequentially: either is a message and
/// the load goes on, keeping the blocks merged before the failure.
///
/// Throws std::runtime_error when the list names no files or no block was accepted, and what the
/// documents throw.
void loadBlockLibrary(const std::filesystem::path& fileListPath, bool parallelLoad, bool dedupe,
                      BlockLibrary& library, KeptSides kept = {});

}  // namespace quillon
