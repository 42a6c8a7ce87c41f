// What the machine needs for a load at the least: to read the files, and to put their floats where
// they belong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "library/growing_rows.h"

namespace quillon::bench {

/// What one thread has moved.
struct MovedRows {
    GrowingRows shapes{shapeWidth};
    GrowingRows texts{textWidth};
};

/// Reads CBOR or MessagePack files as `writeLibrary` makes them, of up to 100 blocks, each in one
/// go, and moves their floats into two growing matrices a thread, on the threads that a load has. A
/// number has `numberBytes`, 4 or 8, the big end first, behind a head of one byte.
std::vector<MovedRows> loadAtTheLimit(const std::vector<std::filesystem::path>& files,
                                      std::size_t numberBytes);

}  // namespace quillon::bench
