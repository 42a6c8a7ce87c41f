// Compares whole runs of the tool with whole runs of a program in Python, search_in_python.py.
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "groups.h"
#include "measure.h"
#include "shared/utf8_path.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::bench {
namespace {

std::vector<std::string> codesOf(const std::filesystem::path& result) {
    std::vector<std::string> codes;
    for (const auto& hit : nlohmann::json::parse(test::readBytes(result)).at("blocks")) {
        codes.push_back(hit.at("code"));
    }
    return codes;
}

void againstPython(const LibrarySpec& spec, const Settings& settings, Report& report) {
    const DiskLibrary library(spec, settings);
    const test::TempFolder folder;
    const auto ourResult = folder.path() / "ours.json";
    const auto otherResult = folder.path() / "python.json";
    for (const std::string method : {"adaptive", "shape", "text", "simple"}) {
        const Contender ours{[&] {
            const test::ProgramResult result =
                test::runProgram({"/filelist", utf8FromPath(library.files.list), "/encode",
                                  utf8FromPath(library.files.query), "/output",
                                  utf8FromPath(ourResult), "/method", method},
                                 folder.path());
            require(result.status == 0, result.out + result.error);
        }};
        const Contender other{[&] {
            std::string command =
                "/usr/bin/python3 " QUILLON_SOURCE_DIR "/bench/search_in_python.py";
            for (const std::filesystem::path& path :
                 {library.files.list, library.files.query, otherResult}) {
                command.append(" '").append(utf8FromPath(path)).append("'");
            }
            command.append(" ").append(method);
            require(std::system(command.c_str()) == 0,
                    "the Python program fails; does it have numpy, faiss and cbor2?");
        }};
        ours.run();
        other.run();
        require(codesOf(ourResult) == codesOf(otherResult), "hits of the Python program");
        const Comparison times = compare(ours, other, budgetSeconds(settings, 60.0));
        Row row{"python/" + spec.extension.substr(1) + "/" + method + "/" + sizeName(spec),
                "whole run of the Python program / whole run", "x"};
        row.value = 1.0 / times.ratio;
        row.oursSeconds = times.oursSeconds;
        row.otherSeconds = times.otherSeconds;
        row.rounds = times.rounds;
        report.add(std::move(row));
    }
}

}  // namespace

void benchPython(const Settings& settings, Report& report) {
    const std::size_t blocks = settings.full ? 20000 : 2000;
    for (const char* extension : {".json", ".cbor"}) {
        againstPython({extension, blocks, blocks / 50}, settings, report);
    }
}

}  // namespace quillon::bench
