// The entry point of quillon_bench: reads the groups to measure and the options.
#include <algorithm>
#include <array>
#include <clocale>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "groups.h"
#include "shared/utf8_path.h"

namespace {

using namespace quillon::bench;
using Group = std::pair<const char*, void (*)(const Settings&, Report&)>;

constexpr std::array<Group, 5> groups{{{"process", benchProcess},
                                       {"load", benchLoad},
                                       {"search", benchSearch},
                                       {"python", benchPython},
                                       {"growth", benchGrowth}}};

constexpr const char* usage =
    "quillon_bench [--full] [--keep] [--data FOLDER] [--json FILE] "
    "[process|load|search|python|growth ...]\n"
    "  --full   the sizes that the goals are set for, about half an hour; smaller ones otherwise\n"
    "  --keep   leave the made-up libraries in the data folder, and use those that are there\n"
    "  --data   where they are made; up to 8 GB in full size\n"
    "  --json   also write the rows to this file\n"
    "Without a group's name: process, load and search.\n";

struct CommandLine {
    Settings settings;
    std::filesystem::path json;
    std::vector<std::string> chosen;
};

CommandLine parsed(const std::vector<std::string>& words) {
    CommandLine line;
    line.settings.dataFolder = std::filesystem::temp_directory_path() / "quillon-bench-data";
    for (auto word = words.begin(); word != words.end(); ++word) {
        const auto value = [&] {
            if (++word == words.end()) {
                throw std::invalid_argument(usage);
            }
            return quillon::pathFromUtf8(*word);
        };
        if (*word == "--full") {
            line.settings.full = true;
        } else if (*word == "--keep") {
            line.settings.keep = true;
        } else if (*word == "--data") {
            line.settings.dataFolder = std::filesystem::absolute(value());
        } else if (*word == "--json") {
            line.json = value();
        } else if (std::any_of(groups.begin(), groups.end(),
                               [&](const Group& group) { return *word == group.first; })) {
            line.chosen.push_back(*word);
        } else {
            throw std::invalid_argument(usage);
        }
    }
    if (line.chosen.empty()) {
        line.chosen = {"process", "load", "search"};
    }
    return line;
}

void measure(const CommandLine& line) {
    const Machine machine = describeMachine();
    Report report;
    for (const auto& [name, bench] : groups) {
        if (std::find(line.chosen.begin(), line.chosen.end(), name) != line.chosen.end()) {
            bench(line.settings, report);
        }
    }
    report.printTable(std::cout, machine);
    if (!line.json.empty()) {
        report.writeJson(line.json, machine);
    }
}

}  // namespace

int main(int count, char** values) {
    std::setlocale(LC_ALL, "C.UTF-8");
    try {
        measure(parsed(std::vector<std::string>(values + 1, values + count)));
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
        return 1;
    }
    return 0;
}
