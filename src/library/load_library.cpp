#include "library/load_library.h"

#include <algorithm>
#include <cstddef>
#include <execution>
#include <memory>
#include <nlohmann/json.hpp>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "documents/json_access.h"
#include "documents/json_file.h"
#include "library/feature_matrices.h"
#include "shared/console.h"
#include "shared/document_keys.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;
using SharedPath = std::shared_ptr<const std::filesystem::path>;

SharedPath entryPath(const json& entry) {
    return std::make_shared<const std::filesystem::path>(pathFromUtf8(entry.get<std::string>()));
}

/// What reading one list entry left: a document, or the text of a failure.
struct ReadResult {
    SharedPath path;
    json document;
    bool failed = false;
    std::string failure;
};

/// Lets nothing escape: an exception would end the process from inside a task.
void readEntry(const json& files, std::size_t index, ReadResult& result) noexcept {
    try {
        result.path = entryPath(elementOf(files, index));
        result.document = readJsonFile(*result.path);
    } catch (const std::exception& exception) {
        result.failed = true;
        result.failure = exception.what();
    } catch (...) {
        result.failed = true;
        result.failure = "unknown exception";
    }
}

void loadParallel(const json& files, bool dedupe, MergeState& state, BlockLibrary& library) {
    std::vector<ReadResult> results(files.size());
    std::vector<std::size_t> order(files.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::for_each(std::execution::par, order.begin(), order.end(),
                  [&](std::size_t index) { readEntry(files, index, results[index]); });

    for (const ReadResult& result : results) {
        if (result.failed) {
            ++library.counters.failedDrawings;
            print("Warning: {}\n", result.failure);
        }
    }
    for (ReadResult& result : results) {
        if (!result.document.is_null()) {
            addDrawingBlocks(result.document, result.path, dedupe, state, library.records);
            result.document = nullptr;
        }
    }
}

void loadOneAtATime(const json& files, bool dedupe, MergeState& state, BlockLibrary& library) {
    for (const json& entry : files) {
        try {
            const SharedPath path = entryPath(entry);
            addDrawingBlocks(readJsonFile(*path), path, dedupe, state, library.records);
        } catch (const std::exception& exception) {
            ++library.counters.failedDrawings;
            print("Fail to load {}\n\t{}\n", entry, exception.what());
        }
    }
}

}  // namespace

void loadBlockLibrary(const std::filesystem::path& fileListPath, bool parallelLoad, bool dedupe,
                      BlockLibrary& library) {
    const json list = readJsonFile(fileListPath);
    const json& files = memberOf(list, filesKey);
    library.counters.totalDrawings = files.size();
    if (files.empty()) {
        throw std::runtime_error("There are no files in " + utf8FromPath(fileListPath));
    }
    print("Loading encodings from {} files in {}\n", files.size(), fileListPath);

    MergeState state;
    if (parallelLoad) {
        loadParallel(files, dedupe, state, library);
    } else {
        loadOneAtATime(files, dedupe, state, library);
    }
    if (library.records.empty()) {
        throw std::runtime_error("No encodings are loaded from files.");
    }

    library.counters.totalBlocks = state.uniqueCount + state.duplicateCount;
    library.counters.uniqueBlocks = state.uniqueCount;
    print("   total drawings: {}\n", library.counters.totalDrawings);
    print("     total blocks: {}\n", library.counters.totalBlocks);
    print("    unique blocks: {}\n", library.counters.uniqueBlocks);
    print("duplicated blocks: {}\n", state.duplicateCount);

    buildFeatureMatrix(state.shapeValues, state.uniqueCount, shapeWidth, library.shapeMatrix);
    buildFeatureMatrix(state.textValues, state.uniqueCount, textWidth, library.textMatrix);
}

}  // namespace quillon
