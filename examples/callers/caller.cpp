// Calls Quillon and reads its result as typed hits:
//     caller PROGRAM FILELIST QUERY OUTPUT.json [METHOD [OPTION ...]]
// PROGRAM is a path, or a name to be found through PATH. Boost.Process starts it, because the
// standard library can only hand a line to a shell.
// Build: g++ -std=c++20 caller.cpp -o caller -lboost_filesystem -pthread
#include <boost/process.hpp>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using nlohmann::json;

struct Hit {
    std::string name;
    std::string code;
    std::string handle;
    std::int64_t index;                 // the row in the library that was loaded, from 0
    std::string drawing;                // the drawing's path, or the folder of its encodings file
    std::optional<double> distOrScore;  // without a value: not finite, also below
    std::optional<double> shapeWeight;  // both weights are 0 but for the method adaptive
    std::optional<double> textWeight;
};

struct Result {
    std::string method;  // that really ran: "shape", whatever was asked for, without a usable text
    std::vector<Hit> hits;
    std::uint64_t failedDrawings;
};

/// With the program's own text. Status 255 is a missing path, 1 every other failure.
struct SearchFailed : std::runtime_error {
    SearchFailed(int endStatus, const std::string& text)
        : std::runtime_error(text), status(endStatus) {}
    int status;
};

/// The console may hold raw bytes of a broken file: they become replacement characters.
std::string validUtf8(const std::string& bytes) {
    return json::parse(json(bytes).dump(-1, ' ', false, json::error_handler_t::replace));
}

/// The lines, whether or not the last one ends with a line feed.
std::vector<std::string> linesOf(const std::string& console) {
    std::vector<std::string> lines;
    std::istringstream stream(console);
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        lines.push_back(line);
    }
    return lines;
}

std::string behind(const std::string& prefix, const std::string& line) {
    return line.starts_with(prefix) ? line.substr(prefix.size()) : line;
}

std::string methodThatRan(const std::vector<std::string>& lines) {
    static const std::map<std::string, std::string> methods{
        {"Adaptive", "adaptive"}, {"ByShape", "shape"}, {"ByText", "text"}, {"Simple", "simple"}};
    const std::string prefix = "     queryType: ";
    for (const std::string& line : lines) {
        if (line.starts_with(prefix)) {
            return methods.at(behind(prefix, line));
        }
    }
    throw std::runtime_error("the console does not tell the method");
}

std::optional<double> finiteNumber(const json& value) {
    return value.is_null() ? std::nullopt : std::optional(value.get<double>());
}

/// One query. Relative paths, also those in the list, start at the current folder.
Result search(const std::string& program, const std::string& fileList, const std::string& query,
              const std::string& output, const std::string& method = "adaptive",
              const std::vector<std::string>& options = {}) {
    namespace process = boost::process;
    std::vector<std::string> arguments{"/filelist", fileList, "/encode", query,
                                       "/output",   output,   "/method", method};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const bool isPath = program.find_first_of("/\\") != std::string::npos;
    process::ipstream pipe;
    process::child child(process::exe = isPath ? program : process::search_path(program).string(),
                         process::args = arguments, process::std_out > pipe);
    const std::string console{std::istreambuf_iterator<char>(pipe), {}};
    child.wait();
    const std::vector<std::string> lines = linesOf(validUtf8(console));
    if (child.exit_code() != 0) {
        // -1 is seen as 255 on Linux.
        throw SearchFailed(child.exit_code() == -1 ? 255 : child.exit_code(),
                           lines.empty() ? "" : behind("exception: ", lines.back()));
    }

    std::ifstream file(output);
    const json document = json::parse(file);
    Result result{methodThatRan(lines), {}, document.at("stats").at("failedDrawings")};
    for (const json& hit : document.at("blocks")) {  // null, without hits, has no elements
        result.hits.push_back({hit.at("name"), hit.at("code"), hit.at("handle"), hit.at("index"),
                               hit.contains("dwgPath") ? hit.at("dwgPath") : hit.at("dwgPathHash"),
                               finiteNumber(hit.at("distOrScore")),
                               finiteNumber(hit.at("shapeWeight")),
                               finiteNumber(hit.at("textWeight"))});
    }
    return result;
}

std::string numberText(const std::optional<double>& number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", number.value_or(0));
    return number ? text : "not finite";
}

int main(int count, char** values) {
    const std::vector<std::string> words(values, values + count);
    if (words.size() < 5) {
        std::cerr << "caller PROGRAM FILELIST QUERY OUTPUT.json [METHOD [OPTION ...]]\n";
        return 2;
    }
    const std::string method = words.size() > 5 ? words[5] : "adaptive";
    const std::vector<std::string> options(words.begin() + (words.size() > 5 ? 6 : 5), words.end());
    try {
        const Result result = search(words[1], words[2], words[3], words[4], method, options);
        if (result.method != method) {
            std::cout << "asked for " << method << ", ran " << result.method << "\n";
        }
        std::cout << result.hits.size() << " hits, " << result.failedDrawings
                  << " drawings failed\n";
        for (const Hit& hit : result.hits) {
            std::cout << hit.name << " | " << hit.code << " | " << hit.handle << " | " << hit.index
                      << " | " << hit.drawing << " | " << numberText(hit.distOrScore) << " | "
                      << numberText(hit.shapeWeight) << " | " << numberText(hit.textWeight) << "\n";
        }
    } catch (const SearchFailed& failure) {
        std::cout << "failed with status " << failure.status << ": " << failure.what() << "\n";
        return 1;
    } catch (const boost::process::process_error&) {
        std::cout << "cannot start " << words[1] << "\n";
        return 1;
    }
    return 0;
}
