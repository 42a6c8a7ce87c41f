// Settings of a benchmark run, the libraries it loads, and the loading itself without its console
// text.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "generate_library.h"
#include "library/block_library.h"

namespace quillon::bench {

struct Settings {
    bool full = false;  // the sizes that the goals are set for; otherwise smaller ones
    bool keep = false;  // leave the libraries on the disk, and use those that are there
    std::filesystem::path dataFolder;
};

/// How long the rounds of one row may take: in small sizes just enough to see that all works.
inline double budgetSeconds(const Settings& settings, double inFullSize = 10.0) {
    return settings.full ? inFullSize : 0.5;
}

/// A library on the disk, removed with this object unless it is to be kept.
class DiskLibrary {
  public:
    DiskLibrary(const LibrarySpec& spec, const Settings& settings);
    ~DiskLibrary();
    DiskLibrary(const DiskLibrary&) = delete;
    DiskLibrary& operator=(const DiskLibrary&) = delete;

    LibraryFiles files;
    std::size_t encodingsBytes = 0;

  private:
    std::filesystem::path folder;
    bool keep;
};

/// "20000-in-400": how a row's name tells the size of a library.
std::string sizeName(const LibrarySpec& spec);

/// The paths of the encodings files, in list order.
std::vector<std::filesystem::path> listedFiles(const LibraryFiles& files);

/// The contents of all encodings files, each with the padding behind it that simdjson wants.
struct FileBytes {
    std::vector<char> padded;
    std::size_t size;
};
std::vector<FileBytes> readEncodings(const LibraryFiles& files);

/// The tool's own load.
BlockLibrary loadQuietly(const LibraryFiles& files, bool parallelLoad);

}  // namespace quillon::bench
