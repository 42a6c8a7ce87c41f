#include "run/run.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <stdexcept>

#include "documents/json_file.h"
#include "library/load_library.h"
#include "output/result_document.h"
#include "run/options.h"
#include "search/adaptive.h"
#include "search/simple.h"
#include "search/single_side.h"
#include "shared/console.h"
#include "shared/json_tree.h"

namespace quillon {
namespace {

// ByShape ignores "/min". Its limit is a squared distance of 0.8, which is a cosine of 0.6 for
// vectors of length 1.
constexpr float byShapeThreshold = 0.2F;

using Clock = std::chrono::steady_clock;

std::int64_t elapsedMs(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(to - from).count();
}

const char* boolText(bool value) {
    return value ? "true" : "false";
}

const char* queryTypeName(QueryType type) {
    switch (type) {
        case QueryType::Adaptive:
            return "Adaptive";
        case QueryType::ByShape:
            return "ByShape";
        case QueryType::ByText:
            return "ByText";
        case QueryType::Simple:
            return "Simple";
        default:
            return "Unknown";
    }
}

KeptSides sidesOf(QueryType type) {
    return {type != QueryType::ByText, type != QueryType::ByShape};
}

void printSettings(const RunOptions& options) {
    print("   Query Block: {}\n", options.queryBlock);
    print("Block fileList: {}\n", options.fileList);
    print("        Output: {}\n", options.output);
    print(" Parallel Load: {}\n", boolText(options.parallelLoad));
    print("   Deduplicate: {}\n", boolText(options.dedupe));
    print("        Pretty: {}\n", boolText(options.pretty));
    print("          topK: {}\n", options.topK);
}

}  // namespace

int run(const std::vector<std::string>& arguments) {
    RunOptions options;
    if (!parseArguments(arguments, options)) {
        return -1;
    }
    printSettings(options);

    const auto startTime = Clock::now();
    QueryType queryType =
        options.queryType == QueryType::NotChosen ? QueryType::Adaptive : options.queryType;
    QueryBlock query;
    readQueryBlock(options.queryBlock, queryType, query);
    print("     queryType: {}\n", queryTypeName(queryType));
    const float minThreshold =
        queryType == QueryType::ByShape ? byShapeThreshold : options.minThreshold;
    print("  minThreshold: {}\n", minThreshold);
    const auto queryReadTime = Clock::now();
    print("Get query block time: {} ms\n", elapsedMs(startTime, queryReadTime));

    BlockLibrary library;
    loadBlockLibrary(options.fileList, options.parallelLoad, options.dedupe, library,
                     sidesOf(queryType));
    const auto loadedTime = Clock::now();
    print("Create index time: {} ms\n", elapsedMs(queryReadTime, loadedTime));

    const auto rows = static_cast<std::uint32_t>(library.counters.uniqueBlocks);
    const std::uint32_t k = std::min(rows, options.topK);
    const std::vector<SearchResult> hits =
        searchLibrary(queryType, k, query, library, minThreshold);
    const auto searchedTime = Clock::now();
    print("Query time: {} ms\n", elapsedMs(loadedTime, searchedTime));

    const JsonTree document(buildResultDocument(hits, library.records, library.counters));
    writeJsonFile(document.root, options.output, options.pretty);
    const auto writtenTime = Clock::now();
    print("writeJsonFile: {} ms\n", elapsedMs(searchedTime, writtenTime));

    print("Quillon engine run successfully!\n");
    return 0;
}

std::vector<SearchResult> searchLibrary(QueryType type, std::uint32_t k, const QueryBlock& query,
                                        const BlockLibrary& library, float minThreshold) {
    std::vector<SearchResult> hits;
    switch (type) {
        case QueryType::Adaptive:
            searchAdaptive(k, query.shape, query.text, library.shapeMatrix, library.textMatrix,
                           minThreshold, hits);
            break;
        case QueryType::ByShape:
            searchByShape(k, query.shape, library.shapeMatrix, minThreshold, hits);
            break;
        case QueryType::ByText:
            searchByText(k, query.text, library.textMatrix, minThreshold, hits);
            break;
        case QueryType::Simple:
            searchSimple(k, query.shape, query.text, library.shapeMatrix, library.textMatrix,
                         minThreshold, hits);
            break;
        default:
            throw std::invalid_argument("invalid query type");
    }
    return hits;
}

}  // namespace quillon
