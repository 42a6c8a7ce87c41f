#include "library/load_library.h"

#include <exception>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "documents/json_access.h"
#include "documents/json_file.h"
#include "library/ordered_reading.h"
#include "shared/console.h"
#include "shared/document_keys.h"
#include "shared/json_tree.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;

/// Rethrows std::bad_alloc: a drawing that can't be read is its own fault, but one that memory
/// lacks for would be missing among the hits through no fault of anyone's.
std::string textOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

/// Files that can't be read are warnings, and all warnings stand before what the merge prints. A
/// failure of the merge ends the load, but only after every file has been read and reported.
void loadParallel(const json& files, bool dedupe, MergeState& state, BlockLibrary& library) {
    std::ostringstream mergeText;
    mergeText.exceptions(std::ios::badbit);  // or it would lose text without a word
    std::exception_ptr mergeFailure;
    readInOrder(files, [&](ReadEntry&& entry) {
        if (entry.failure) {
            ++library.counters.failedDrawings;
            print("Warning: {}\n", textOf(entry.failure));
        } else if (!mergeFailure && !entry.drawing.isNull) {
            try {
                addDrawingBlocks(std::move(entry.drawing), entry.path, dedupe, state,
                                 library.records, mergeText);
            } catch (...) {
                mergeFailure = std::current_exception();
            }
        }
    });
    print("{}", mergeText.str());
    if (mergeFailure) {
        std::rethrow_exception(mergeFailure);
    }
}

/// Either failure is a message, and the load goes on with what was merged before it.
void loadOneAtATime(const json& files, bool dedupe, MergeState& state, BlockLibrary& library) {
    ReadBuffers buffers;
    for (const json& listed : files) {
        try {
            ReadEntry entry = readEntry(listed, buffers);
            addDrawingBlocks(std::move(entry.drawing), entry.path, dedupe, state, library.records,
                             std::cout);
        } catch (const std::bad_alloc&) {
            throw;  // as in textOf
        } catch (const std::exception& exception) {
            ++library.counters.failedDrawings;
            print("Fail to load {}\n\t{}\n", listed, exception.what());
        }
    }
}

}  // namespace

void loadBlockLibrary(const std::filesystem::path& fileListPath, bool parallelLoad, bool dedupe,
                      BlockLibrary& library) {
    const JsonTree list(readJsonFile(fileListPath));
    const json& files = memberOf(list.root, filesKey);
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

    library.shapeMatrix = std::move(state.shapes).takeMatrix(state.uniqueCount);
    library.textMatrix = std::move(state.texts).takeMatrix(state.uniqueCount);
}

}  // namespace quillon
