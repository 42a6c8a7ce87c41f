// Writes a library of made-up drawings: the list, the encodings files and two queries.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace quillon::bench {

/// How an encoder of CBOR writes numbers.
enum class Numbers {
    single,     // 32 bits each, as do the encoders of the other formats, or 64 where they must
    wide,       // 64 bits each
    shortened,  // 32 bits, but 16 where these are enough: for one number in 16, which is 0
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
    /// A shape vector of one element: a run with "/method simple" loads the library and then ends
    /// with status 1, before it makes an index.
    std::filesystem::path narrowQuery;
};

/// Where they are in a library's folder.
LibraryFiles libraryFiles(const std::filesystem::path& folder);

/// Writes into `folder`, which is made, several files at a time; holds one file per thread in
/// memory. Encodings lie where real ones do, in <folder>/.blocksMetadata/<xx>/<drawing>/, and the
/// last block of each is the whole drawing. Numbers of JSON text have 6 significant digits; the
/// binary formats hold float32 as their encoder sees fit, in 4 bytes (CBOR, MessagePack) or 8.
/// The list is written last.
void writeLibrary(const LibrarySpec& spec, const std::filesystem::path& folder);

}  // namespace quillon::bench
