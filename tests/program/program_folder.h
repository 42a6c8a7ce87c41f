// Makes a folder with a query, a file list and drawings, runs the program in it, and checks the
// console text.
#pragma once

#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {

/// Searches by shape for "query.json" in "list.json" and writes "result.json". Options in `more`
/// come last and replace these. `launcher` is that of `runProgram`.
ProgramResult runIn(const TempFolder& folder, const std::vector<std::string>& more,
                    const std::vector<std::string>& launcher = {});

/// Writes a query, a list of `drawings`, "good.json" with the block "good", and the text "earlier"
/// into "result.json".
void writeGoodRun(const TempFolder& folder,
                  const std::vector<std::string>& drawings = {"good.json"});

/// Checks that a run ends with status 0 and the success line, 1 and an exception report, or 255 and
/// the text for a missing path, once and at the end. The standard error stream must be empty.
void expectCleanEnd(const ProgramResult& result);

/// Compares texts of many megabytes. A failure shows only the text around the first difference.
void expectText(const std::string& actual, const std::string& expected);

/// Checks a clean end with status 0 and the whole `console` text.
void expectSuccess(const ProgramResult& result, const std::string& console);

/// Runs like `runIn`. Checks a clean end with status 1, the whole `console` text, and the earlier
/// result of `writeGoodRun`.
void expectFailure(const TempFolder& folder, const std::vector<std::string>& arguments,
                   const std::string& console, const std::vector<std::string>& launcher = {});

/// The mode of the load, for tests that run in both modes.
struct LoadMode {
    bool parallel;

    /// The arguments that choose `method` and this mode.
    std::vector<std::string> arguments(const std::string& method) const;
    /// The console text for a list entry that cannot be loaded.
    std::string failureLine(const std::string& entry, const std::string& text) const;
};

inline constexpr std::array<LoadMode, 2> loadModes{LoadMode{true}, LoadMode{false}};

/// The parts of a run's console text, times masked as by `maskTimes`.
struct ConsoleText {
    std::string query = R"("query.json")";
    std::string list = R"("list.json")";
    std::string output = R"("result.json")";
    bool parallel = true;
    bool dedupe = true;
    bool pretty = false;
    std::string topK = "5";
    std::string method = "ByShape";
    std::string threshold = "0.2";

    std::string settings() const;
    /// The text before the load: settings, method and threshold.
    std::string untilLoad() const;
    /// The text up to the line that names the list.
    std::string untilFiles(std::size_t files) const;
    static std::string summary(std::size_t drawings, std::size_t total, std::size_t unique,
                               std::size_t duplicated);
    static std::string success();
};

/// The last line of a failed run: "exception: " and the text.
std::string report(const std::string& text);

/// The text of the file "result.json", "(none)" without one.
std::string resultText(const TempFolder& folder);

/// The member `name` of every hit in "result.json".
std::vector<nlohmann::json> hitMembers(const TempFolder& folder, const std::string& name);

}  // namespace quillon::test
