// Writes a block library of made-up drawings: the list, the encodings files and two queries.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace quillon::bench {

/// The numbers that an encoder of CBOR writes.
enum class Numbers {
    single,     // 32 bits each; other formats also have 64
    wide,       // 64 bits each
    shortened,  // 32 bits, or 16 if they are enough: for one number in 16, which is 0
};

struct LibrarySpec {
    std::string extension;  // of the encodings files, ".json" for example; decides their format
    std::size_t blocks;     // repeated ones included
    std::size_t files;      // at least 1, at most `blocks`; the blocks are spread evenly over them
    Numbers numbers = Numbers::single;  // others for CBOR only
};

struct LibraryFiles {
    std::filesystem::path list;
    std::filesystem::path query;
    /// A query with a shape vector of one element: a run with "/method simple" loads the library
    /// and ends with status 1 before it searches.
    std::filesystem::path narrowQuery;
};

/// Returns their paths in the folder of a library.
LibraryFiles libraryFiles(const std::filesystem::path& folder);

/// Makes `folder` and writes several files at a time, each from memory. Encodings files are at
/// <folder>/.blocksMetadata/<xx>/<drawing>/, as real ones are, and the last block of each is the
/// whole drawing. Numbers of JSON text have 6 significant digits. CBOR and MessagePack have 4 bytes
/// for each number, the other binary formats 8. The list is written last.
void writeLibrary(const LibrarySpec& spec, const std::filesystem::path& folder);

}  // namespace quillon::bench
