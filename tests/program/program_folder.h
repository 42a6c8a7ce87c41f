// A folder with a query, a file list and drawings, the program run in it, and the console text that
// such a run must leave.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {

/// Extensions of the six document formats, without the dot.
inline constexpr std::array<const char*, 6> documentFormats{"json",    "bson", "cbor",
                                                            "msgpack", "ubj",  "jdb"};

/// The document in the format of an extension, written by the JSON library.
std::string documentBytes(const nlohmann::json& document, std::string_view format);

/// Reads the same; throws the JSON library's exceptions.
nlohmann::json parseDocument(std::string_view bytes, std::string_view format);

/// `first` and zeros behind it.
nlohmann::json vectorOf(std::size_t width, double first);

/// Both vectors begin with 1; the text is "Door 23_3".
nlohmann::json queryDocument();

struct NamedBlock {
    std::string key;
    double first;  // both vectors begin with it
};

nlohmann::json drawingDocument(const std::vector<NamedBlock>& blocks);

/// {"files": [paths...]}
nlohmann::json listDocument(const std::vector<std::string>& paths);

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

/// Runs as `runIn` does: a clean end with status 1, the whole `console`
/// text and what `writeGoodRun` has written as result.
void expectFailure(const TempFolder& folder, const std::vector<std::string>& arguments,
                   const std::string& console);

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
