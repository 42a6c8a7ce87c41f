// The way from the list to the rows, drawing by drawing:
//   fetchInOrder       fetches the listed drawings, several at a time, and hands them over in order
//   InputFile          reads one encodings file
//   decodeDrawing      takes the blocks out of its bytes:
//   readFast           the fast path, from the bytes of a well-formed file, or
//   blocksOfDocument   the generic path, by the tree of any other, with a message for each mistake
//   addDrawingBlocks   merges the blocks: duplicates stay out, the others become records and rows
#include "library/load_library.h"

#include <cstddef>
#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

#include "documents/json_access.h"
#include "documents/json_file.h"
#include "library/fetch_drawing.h"
#include "library/fetch_in_order.h"
#include "library/merge_drawing.h"
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

/// Drawings that can't be fetched are warnings, and all warnings stand before what the merge
/// prints. A failure of the merge ends the load, but only after every drawing has been fetched and
/// reported.
void loadParallel(const json& files, bool dedupe, MergeState& state, BlockLibrary& library) {
    std::string diagnostics;
    std::exception_ptr mergeFailure;
    fetchInOrder(files, [&](Drawing&& drawing) {
        if (!drawing.isReadable) {
            ++library.counters.failedDrawings;
            print("Warning: {}\n", textOf(drawing.failure));
        } else if (!mergeFailure && !drawing.isNull) {
            try {
                addDrawingBlocks(std::move(drawing), dedupe, state, library.records, diagnostics);
            } catch (...) {
                mergeFailure = std::current_exception();
            }
        }
    });
    print("{}", diagnostics);
    if (mergeFailure) {
        std::rethrow_exception(mergeFailure);
    }
}

/// Either failure is a message, and the load goes on with what was merged before it.
void loadSequentially(const json& files, bool dedupe, MergeState& state, BlockLibrary& library) {
    simdjson::dom::parser parser;
    for (const json& listed : files) {
        std::string diagnostics;
        std::exception_ptr failure;
        try {
            addDrawingBlocks(fetchDrawing(listed, parser), dedupe, state, library.records,
                             diagnostics);
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
        print("{}", diagnostics);
        if (failure) {
            ++library.counters.failedDrawings;
            print("Fail to load {}\n\t{}\n", listed, textOf(failure));
        }
    }
}

}  // namespace

void loadBlockLibrary(const std::filesystem::path& fileListPath, bool parallelLoad, bool dedupe,
                      BlockLibrary& library, KeptSides kept) {
    const JsonTree list(readJsonFile(fileListPath));
    const json& files = memberOf(list.root, filesKey);
    library.counters.totalDrawings = files.size();
    if (files.empty()) {
        throw std::runtime_error("There are no files in " + utf8FromPath(fileListPath));
    }
    print("Loading encodings from {} files in {}\n", files.size(), fileListPath);

    MergeState state;
    state.kept = kept;
    if (parallelLoad) {
        loadParallel(files, dedupe, state, library);
    } else {
        loadSequentially(files, dedupe, state, library);
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

    library.shapeMatrix = std::move(state.shapes).takeMatrix(kept.shape ? state.uniqueCount : 0);
    library.textMatrix = std::move(state.texts).takeMatrix(kept.text ? state.uniqueCount : 0);
}

}  // namespace quillon
