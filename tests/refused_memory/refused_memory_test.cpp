// Whole runs in which allocations fail, each in turn: they end with the right result
// or with std::bad_alloc, and never in another way.
#include <gtest/gtest.h>

#include <array>
#include <exception>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <streambuf>
#include <string>
#include <vector>

#include "library/fast_readers.h"
#include "refused_memory/refusing_allocator.h"
#include "run/run.h"
#include "search/single_side.h"
#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/formats.h"
#include "support/odd_documents.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;

/// Takes what is printed without asking for memory.
class PrintedText : std::streambuf {
  public:
    PrintedText() {
        setp(text.data(), text.data() + text.size());
        before = std::cout.rdbuf(this);
    }
    ~PrintedText() override { std::cout.rdbuf(before); }
    PrintedText(const PrintedText&) = delete;
    PrintedText& operator=(const PrintedText&) = delete;

    std::string whole() const { return {pbase(), pptr()}; }

  private:
    std::array<char, 100000> text;
    std::streambuf* before;
};

struct Outcome {
    std::string failure;  // what() of the exception, empty without one
    std::string console;  // times masked
    std::string result;
};

std::string textOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& exception) {
        return exception.what();
    }
}

/// A query, and a list of drawings of all formats, well-formed and not.
void writeQueryAndLibrary(const TempFolder& folder) {
    std::vector<std::string> files;
    const auto add = [&](const std::string& extension, bool isWellFormed) {
        const std::string number = std::to_string(files.size());
        const double mark = 1.0 + static_cast<double>(files.size()) / 64;
        json document = encodings({{"n*a" + number + "*1", mark}, {"n*b" + number + "*0", -mark}});
        if (!isWellFormed) {
            document["text"][0].push_back(1);
        }
        files.push_back(
            utf8FromPath(folder.write(number + extension, encoded(document, extension))));
    };
    for (const char* extension : allExtensions) {
        add(extension, true);
        add(extension, false);
    }
    files.push_back(utf8FromPath(folder.write("cut.cbor", std::string("\xA2\x61", 2))));
    files.push_back(utf8FromPath(folder.write("cut.json", std::string(R"({"shape": [[1, 2)"))));
    files.emplace_back("missing.json");
    writeQueryAndList(folder, files);
}

std::vector<std::string> argumentsFor(const TempFolder& folder, const std::string& method,
                                      bool parallelLoad) {
    const auto pathOf = [&](const char* name) { return utf8FromPath(folder.path() / name); };
    std::vector<std::string> arguments{
        "quillon", "/filelist",           pathOf("list.json"), "/encode", pathOf("query.json"),
        "/output", pathOf("result.json"), "/method",           method,    "/min",
        "-10"};
    if (!parallelLoad) {
        arguments.emplace_back("/no-parallel-load");
    }
    return arguments;
}

/// One run, in which `count` requests from number `first` on fail.
Outcome runWithFailures(const TempFolder& folder, const std::vector<std::string>& arguments,
                        std::size_t first, std::size_t count, bool& hasFailed) {
    Outcome outcome;
    PrintedText printed;
    std::exception_ptr failure;
    failAllocations(first, count);
    try {
        EXPECT_EQ(run(arguments), 0);
    } catch (...) {
        failure = std::current_exception();
    }
    hasFailed = allowAllocations();
    outcome.console = maskTimes(printed.whole());
    if (failure) {
        outcome.failure = textOf(failure);
    }
    outcome.result = readBytes(folder.path() / "result.json");
    return outcome;
}

/// Has requests fail from each number on, until a run makes fewer. Returns how many runs had the
/// right result still.
std::size_t expectCleanEnds(const std::string& method, bool parallelLoad, std::size_t count) {
    const TempFolder folder;
    writeQueryAndLibrary(folder);
    const std::vector<std::string> arguments = argumentsFor(folder, method, parallelLoad);
    bool hasFailed = false;
    const Outcome right = runWithFailures(folder, arguments, 0, 0, hasFailed);
    EXPECT_FALSE(hasFailed);
    EXPECT_EQ(right.failure, "");
    EXPECT_TRUE(right.console.ends_with("Quillon engine run successfully!\n")) << right.console;
    EXPECT_GT(json::parse(right.result).at("blocks").size(), 2U);

    std::size_t first = 0;
    std::size_t madeUpFor = 0;
    for (hasFailed = true; hasFailed; ++first) {
        const Outcome outcome = runWithFailures(folder, arguments, first, count, hasFailed);
        if (outcome.failure.empty()) {
            madeUpFor += hasFailed ? 1 : 0;
            EXPECT_EQ(outcome.console, right.console) << "request " << first;
            EXPECT_EQ(outcome.result, right.result) << "request " << first;
        } else {
            EXPECT_TRUE(hasFailed);
            EXPECT_EQ(outcome.failure, "std::bad_alloc") << "request " << first;
        }
    }
    EXPECT_GT(first, 500U);
    return madeUpFor;
}

TEST(ReadJsonFast, ReadsAgainAfterAnAllocationFailure) {
    std::mt19937 random(1);
    std::string bytes = wellFormedDocument(random).dump();
    const std::size_t size = bytes.size();
    bytes.resize(size + simdjson::SIMDJSON_PADDING);
    const std::string_view text(bytes.data(), size);
    std::size_t first = 0;
    for (bool hasFailed = true; hasFailed; ++first) {
        simdjson::dom::parser parser;
        bool isTaken = false;
        failAllocations(first, 1);
        try {
            isTaken = readJsonFast(text, parser).has_value();
        } catch (const std::bad_alloc&) {
            isTaken = false;
        }
        hasFailed = allowAllocations();
        EXPECT_NE(isTaken, hasFailed) << "request " << first;
        EXPECT_TRUE(readJsonFast(text, parser)) << "request " << first;
    }
    EXPECT_GT(first, 10U);
}

// Many hits take memory of their own.
TEST(SearchByText, SurvivesAllocationFailuresForManyHits) {
    FeatureMatrix rows = FeatureMatrix::from_shape({150, 4});
    std::iota(rows.begin(), rows.end(), 0.0F);
    FeatureMatrix query = FeatureMatrix::from_shape({1, 4});
    query.fill(0.0F);
    std::size_t first = 0;
    for (bool hasFailed = true; hasFailed; ++first) {
        std::vector<SearchResult> hits;
        bool isFailing = false;
        failAllocations(first, 1);
        try {
            searchByText(120, query, rows, -1e9F, hits);
        } catch (const std::bad_alloc&) {
            isFailing = true;
        }
        hasFailed = allowAllocations();
        EXPECT_EQ(isFailing, hasFailed) << "request " << first;
        EXPECT_TRUE(isFailing || hits.size() == 120U) << "request " << first;
    }
    EXPECT_GT(first, 4U);
}

// One request: what is read again succeeds. Some: what is read again does not, and all behind it
// does. All: nothing succeeds any more.
constexpr std::size_t some = 4;

TEST(RefusedMemory, OneRequestInAParallelLoad) {
    // An entry is read again, so all that reading asks for is made up for.
    EXPECT_GT(expectCleanEnds("shape", true, 1), 300U);
}

TEST(RefusedMemory, SomeRequestsInAParallelLoad) {
    expectCleanEnds("shape", true, some);
}

TEST(RefusedMemory, AllRequestsInAParallelLoad) {
    expectCleanEnds("shape", true, allRequests);
}

TEST(RefusedMemory, OneRequestInALoadOneAtATime) {
    expectCleanEnds("text", false, 1);
}

TEST(RefusedMemory, SomeRequestsInALoadOneAtATime) {
    expectCleanEnds("text", false, some);
}

TEST(RefusedMemory, AllRequestsInALoadOneAtATime) {
    expectCleanEnds("text", false, allRequests);
}

TEST(RefusedMemory, OneRequestInAnAdaptiveSearch) {
    expectCleanEnds("adaptive", true, 1);
}

TEST(RefusedMemory, AllRequestsInAnAdaptiveSearch) {
    expectCleanEnds("adaptive", true, allRequests);
}

}  // namespace
}  // namespace quillon::test
