// The library load as it reads on paper: every file a tree of values, all trees held until the
// merge has ended, every float in a flat sequence first and then in its matrix. The oracle for the
// load in src/library, of which it uses the records of values alone, and what the benchmarks
// compare with.
#pragma once

#include <filesystem>

#include "library/block_library.h"

namespace quillon::reference {

/// Prints, throws and fills `library` as `quillon::loadBlockLibrary` does. `threads` read in
/// parallel mode; the warnings stand in list order whatever their number.
void loadBlockLibrary(const std::filesystem::path& fileListPath, bool parallelLoad, bool dedupe,
                      BlockLibrary& library, unsigned threads = 1);

}  // namespace quillon::reference
