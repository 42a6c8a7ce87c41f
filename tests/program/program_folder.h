// A folder with a query, a file list and drawings, the program run in it, and the console text that
// such a run must leave.
#pragma once

#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {

/// Searches by shape for "query.json" in "list.json" into "result.json". Options in `more` stand
/// behind these and win over them. `launcher` as for `runProgram`.
ProgramResult runIn(const TempFolder& folder, const std::vector<std::string>& more,
                    const std::vector<std::string>& launcher = {});

/// Writes a query, a list of `drawings`, "good.json" with the one block "good", and "earlier" into
/// "result.json".
void writeGoodRun(const TempFolder& folder,
                  const std::vector<std::string>& drawings = {"good.json"});

/// Status 0 with the success line, 1 with an exception report or 255 with the text for a missing
/// path, each of these once and at the end, and nothing on standard error.
void expectCleanEnd(const ProgramResult& result);

/// Equality of texts that may be megabytes long: a failure shows the surroundings of the first
/// difference alone.
void expectText(const std::string& actual, const std::string& expected);

/// A clean end with status 0 and the whole `console` text.
void expectSuccess(const ProgramResult& result, const std::string& console);

/// Runs as `runIn` does: a clean end with status 1, the whole `console` text and what
/// `writeGoodRun` has written as result.
void expectFailure(const TempFolder& folder, const std::vector<std::string>& arguments,
                   const std::string& console, const std::vector<std::string>& launcher = {});

/// How the library is loaded, for tests that run in both modes.
struct LoadMode {
    bool parallel;

    /// The arguments that choose `method` and this mode.
    std::vector<std::string> arguments(const std::string& method) const;
    /// What a list entry that can't be loaded leaves on the console.
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
    /// Settings, method and threshold: all that is printed before the load.
    std::string untilLoad() const;
    /// Up to the line that names the list.
    std::string untilFiles(std::size_t files) const;
    static std::string summary(std::size_t drawings, std::size_t total, std::size_t unique,
                               std::size_t duplicated);
    static std::string success();
};

/// "exception: " and the text, as it ends a failed run.
std::string report(const std::string& text);

/// The text of the file "result.json", "(none)" without one.
std::string resultText(const TempFolder& folder);

/// The member `name` of every hit in "result.json".
std::vector<nlohmann::json> hitMembers(const TempFolder& folder, const std::string& name);

}  // namespace quillon::test
