#include "benchmark_data.h"

#include <simdjson.h>

#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "library/load_library.h"
#include "shared/document_keys.h"
#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"

namespace quillon::bench {

namespace fs = std::filesystem;

std::vector<fs::path> listedFiles(const LibraryFiles& files) {
    const nlohmann::json list = nlohmann::json::parse(test::readBytes(files.list));
    std::vector<fs::path> paths;
    for (const nlohmann::json& entry : list.at(filesKey)) {
        paths.push_back(pathFromUtf8(entry.get<std::string>()));
    }
    return paths;
}

DiskLibrary::DiskLibrary(const LibrarySpec& spec, const Settings& settings)
    : files(libraryFiles(settings.dataFolder / (spec.extension.substr(1) + "-" + sizeName(spec)))),
      folder(files.list.parent_path()),
      keep(settings.keep) {
    // The list is written last: a library with a list is complete.
    if (!fs::exists(files.list)) {
        std::cerr << "writing " << spec.blocks << " blocks in " << spec.files << ' '
                  << spec.extension << " files" << std::endl;
        writeLibrary(spec, folder);
    }
    for (const fs::path& path : listedFiles(files)) {
        encodingsBytes += fs::file_size(path);
    }
}

DiskLibrary::~DiskLibrary() {
    if (!keep) {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
}

std::string sizeName(const LibrarySpec& spec) {
    const char* numbers = spec.numbers == Numbers::single ? ""
                          : spec.numbers == Numbers::wide ? "-wide"
                                                          : "-shortened";
    return std::to_string(spec.blocks) + "-in-" + std::to_string(spec.files) + numbers;
}

std::vector<FileBytes> readEncodings(const LibraryFiles& files) {
    std::vector<FileBytes> all;
    for (const fs::path& path : listedFiles(files)) {
        const std::string content = test::readBytes(path);
        all.push_back(
            {std::vector<char>(content.size() + simdjson::SIMDJSON_PADDING), content.size()});
        std::copy(content.begin(), content.end(), all.back().padded.begin());
    }
    return all;
}

BlockLibrary loadQuietly(const LibraryFiles& files, bool parallelLoad) {
    const test::ConsoleCapture console;
    BlockLibrary library;
    loadBlockLibrary(files.list, parallelLoad, true, library);
    return library;
}

}  // namespace quillon::bench
