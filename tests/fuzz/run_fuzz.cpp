// Whole runs in this process, from the command line and a small folder to the result: they end in
// one of three ways, leave a result that can be read, and leave the same when run again.
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "documents/json_file.h"
#include "fuzz/fuzz_documents.h"
#include "run/run.h"
#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/failure_texts.h"
#include "support/formats.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;

const TempFolder& workingFolder() {
    static const TempFolder folder;
    std::filesystem::create_directory(folder.path() / "folder.json");
    return folder;
}

/// No run is given a path out of the folder.
std::string pathOf(const std::string& name) {
    return utf8FromPath(workingFolder().path() / name);
}

std::string writeDocument(const std::string& name, const FuzzDocument& document) {
    return utf8FromPath(
        workingFolder().write(name + std::string(document.extension), document.bytes));
}

json chooseList(FuzzInput& input, const Words& drawings) {
    json files = drawings;
    switch (input.choice(16)) {
        case 0:
            return {{"files", nullptr}};
        case 1:
            return {{"files", pathOf("drawing-0.json")}};
        case 2:
            return files;
        case 3:
            files.push_back(7);
            break;
        case 4:
            files.push_back(pathOf("missing.json"));
            break;
        case 5:
            files.push_back(pathOf("folder.json"));
            break;
        case 6:
            files.push_back("of no format " + input.take(input.choice(6)) + "_");
            break;
        default:
            break;
    }
    return {{"files", files}};
}

struct Choice {
    const char* option;
    Words values;
    bool areNames = false;  // of files
};

const std::vector<Choice>& choices() {
    static const std::vector<Choice> all{
        {"/method", {"adaptive", "shape", "text", "simple", "Shape", ""}},
        {"/topk", {"0", "1", "2", "100", "-1", " 3x", "2147483648", "x", ""}},
        {"/min", {"-10", "0", "0.99", "1", "-inf", "inf", "nan", "1e-50", "1e50", "x", ""}},
        {"/output",
         {"result.bson", "result.cbor", "result.msgpack", "result.ubj", "result.jdb", "result.txt",
          "missing/result.json", "folder.json", ""},
         true},
        {"/filelist", {"missing.json", "folder.json", "list", "query.json", ""}, true},
        {"/encode", {"missing.json", "folder.json", "list.json", ""}, true},
        {"/pretty", {}},
        {"/no-dedup", {}},
        {"/no-parallel-load", {}},
        {"unknown", {}},
    };
    return all;
}

Words chooseCommandLine(FuzzInput& input, const std::string& query, std::string& output) {
    Words words{"quillon", "/filelist", pathOf("list.json"), "/encode", query, "/output", output,
                "/min",    "-10"};
    const std::size_t options = input.choice(5);
    for (std::size_t i = 0; i < options; ++i) {
        const Choice& choice = input.anyOf(choices());
        words.emplace_back(choice.option);
        if (!choice.values.empty() && input.choice(32) != 0) {
            const std::string& value = input.anyOf(choice.values);
            words.push_back(choice.areNames && !value.empty() ? pathOf(value) : value);
            output = words[words.size() - 2] == "/output" ? words.back() : output;
        }
    }
    return words;
}

struct Outcome {
    int status = 1;
    std::string console;
    std::string failure;
    std::string result;

    bool operator==(const Outcome&) const = default;
};

Outcome runOnce(const Words& words, const std::string& output) {
    Outcome outcome;
    if (!std::filesystem::is_directory(output)) {
        std::filesystem::remove(output);
    }
    const ConsoleCapture console;
    outcome.failure = failureOf([&] { outcome.status = run(words); });
    outcome.console = maskTimes(console.text());
    if (outcome.status == 0) {
        outcome.result = readBytes(output);
    }
    return outcome;
}

void runTwice(FuzzInput& input) {
    const FuzzDocument queryDocument = chooseQuery(input);
    const std::string query = writeDocument("query", queryDocument);
    Words drawings(input.choice(5));
    for (std::size_t i = 0; i < drawings.size(); ++i) {
        drawings[i] = writeDocument("drawing-" + std::to_string(i), chooseDrawing(input));
    }
    std::string output = pathOf("result.json");
    const json list = chooseList(input, drawings);
    const Words words = chooseCommandLine(input, query, output);
    workingFolder().write("list.json", encoded(list, ".json"));

    const Outcome outcome = runOnce(words, output);
    switch (outcome.status) {
        case 0:
            require(outcome.console.ends_with("Quillon engine run successfully!\n"),
                    "a run that succeeds says so");
            require(readJsonFile(output).contains("stats"), "its result can be read");
            break;
        case 1:
            require(!outcome.failure.empty(), "a run that fails says why");
            break;
        default:
            require(outcome.status == -1 && outcome.console.starts_with("ERROR: The input "),
                    "a run without a path says which");
            break;
    }
    require(runOnce(words, output) == outcome, "a run leaves the same again");
}

}  // namespace
}  // namespace quillon::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    quillon::test::FuzzInput input(data, size);
    quillon::test::runTwice(input);
    return 0;
}
