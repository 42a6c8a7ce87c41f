// Whole runs in which a request for memory is refused, each in turn: they end with the right result
// or with std::bad_alloc, and never in another way.
#include <gtest/gtest.h>

#include <array>
#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>
#include <random>
#include <streambuf>
#include <string>
#include <vector>

#include "refused_memory/refusing_allocator.h"
#include "run/run.h"
#include "shared/utf8_path.h"
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

/// A query, and a list of drawings of all formats, regular and not.
void writeLibrary(const TempFolder& folder) {
    std::mt19937 random(1);
    json query = regularDocument(random);
    query["queryText"] = {"Door 23_3"};
    folder.write("query.json", query);
    std::vector<std::string> files;
    const auto add = [&](std::string_view extension, const json& document) {
        const std::string name = std::to_string(files.size()) + std::string(extension);
        files.push_back(utf8FromPath(folder.write(name, encoded(document, extension))));
    };
    for (const std::string_view extension : allExtensions) {
        add(extension, regularDocument(random));
        json rejected = regularDocument(random);
        rejected["text"][0].push_back(1);
        add(extension, rejected);
    }
    files.push_back(utf8FromPath(folder.write("cut.cbor", std::string("\xA2\x61", 2))));
    files.push_back(utf8FromPath(folder.write("cut.json", std::string(R"({"shape": [[1, 2)"))));
    files.emplace_back("missing.json");
    folder.write("list.json", json{{"files", files}});
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

/// One run, in which `count` requests from number `first` on are refused.
Outcome runRefused(const TempFolder& folder, const std::vector<std::string>& arguments,
                   std::size_t first, std::size_t count, bool& hasRefused) {
    Outcome outcome;
    PrintedText printed;
    std::exception_ptr failure;
    refuseMemory(first, count);
    try {
        EXPECT_EQ(run(arguments), 0);
    } catch (...) {
        failure = std::current_exception();
    }
    hasRefused = grantMemory();
    outcome.console = maskTimes(printed.whole());
    if (failure) {
        outcome.failure = textOf(failure);
    }
    outcome.result = readBytes(folder.path() / "result.json");
    return outcome;
}

/// Refuses requests from each number on, until a run asks for fewer.
void expectCleanEnds(const std::string& method, bool parallelLoad, std::size_t count) {
    const TempFolder folder;
    writeLibrary(folder);
    const std::vector<std::string> arguments = argumentsFor(folder, method, parallelLoad);
    bool hasRefused = false;
    const Outcome right = runRefused(folder, arguments, 0, 0, hasRefused);
    ASSERT_FALSE(hasRefused);
    ASSERT_EQ(right.failure, "");
    ASSERT_TRUE(right.console.ends_with("Quillon engine run successfully!\n")) << right.console;

    std::size_t first = 0;
    for (hasRefused = true; hasRefused; ++first) {
        const Outcome outcome = runRefused(folder, arguments, first, count, hasRefused);
        if (outcome.failure.empty()) {
            ASSERT_EQ(outcome.console, right.console) << "request " << first;
            ASSERT_EQ(outcome.result, right.result) << "request " << first;
        } else {
            ASSERT_TRUE(hasRefused);
            ASSERT_EQ(outcome.failure, "std::bad_alloc") << "request " << first;
        }
    }
    EXPECT_GT(first, 500U);
}

// One request: what is read again succeeds. Some: what is read again does not, and all behind it
// does. All: nothing succeeds any more.
constexpr std::size_t some = 40;

TEST(RefusedMemory, OneRequestInAParallelLoad) {
    expectCleanEnds("shape", true, 1);
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
