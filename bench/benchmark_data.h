// Settings of a benchmark run, its block libraries, and a load without console text.
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

/// Time limit for the rounds of one row. In small sizes just long enough for the checks.
inline double budgetSeconds(const Settings& settings, double inFullSize = 10.0) {
    return settings.full ? inFullSize : 0.5;
}

/// A block library on the disk, removed with this object unless it must be kept.
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

/// Returns the size in the name of a row, for example "20000-in-400".
std::string sizeName(const LibrarySpec& spec);

/// Returns the paths of the encodings files, in the order of the list.
std::vector<std::filesystem::path> listedFiles(const LibraryFiles& files);

/// Returns the contents of all encodings files, each followed by the padding that simdjson needs.
struct FileBytes {
    std::vector<char> padded;
    std::size_t size;
};
std::vector<FileBytes> readEncodings(const LibraryFiles& files);

/// Loads a library as the tool does.
BlockLibrary loadQuietly(const LibraryFiles& files, bool parallelLoad);

}  // namespace quillon::bench
