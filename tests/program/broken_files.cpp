#include "program/broken_files.h"

#include <gtest/gtest.h>

namespace quillon::test {

using nlohmann::json;

void expectFailureAsQueryAndList(const TempFolder& folder, const BrokenFile& file) {
    SCOPED_TRACE(file.name);
    ConsoleText console;
    console.query = '"' + file.name + '"';
    expectFailure(folder, {"/method", "shape", "/encode", file.name},
                  console.settings() + report(file.text));
    console = {};
    console.list = '"' + file.name + '"';
    expectFailure(folder, {"/method", "shape", "/filelist", file.name},
                  console.untilLoad() + report(file.text));
}

void expectFailuresAsDrawings(const TempFolder& folder, const std::vector<BrokenFile>& files) {
    std::vector<std::string> paths;
    for (const BrokenFile& file : files) {
        paths.push_back(file.name);
    }
    paths.emplace_back("good.json");
    folder.write("list.json", listDocument(paths));
    for (const LoadMode& mode : loadModes) {
        std::string failures;
        for (const BrokenFile& file : files) {
            failures += mode.failureLine(json(file.name).dump(), file.text);
        }
        ConsoleText console;
        console.parallel = mode.parallel;
        const ProgramResult result = runIn(folder, mode.arguments("shape"));
        expectCleanEnd(result);
        EXPECT_EQ(result.status, 0);
        expectText(maskTimes(result.out), console.untilFiles(paths.size()) + failures +
                                              ConsoleText::summary(paths.size(), 1, 1, 0) +
                                              ConsoleText::success());
        EXPECT_EQ(json::parse(resultText(folder)).at("stats").at("failedDrawings"), files.size());
    }
}

void expectFailureInEveryRole(const TempFolder& folder, const BrokenFile& file) {
    writeGoodRun(folder);
    expectFailureAsQueryAndList(folder, file);
    expectFailuresAsDrawings(folder, {file});
}

std::string parseFailure(const std::string& bytes, const std::string& format) {
    try {
        parseDocument(bytes, format);
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return {};
}

void writeBroken(const TempFolder& folder, const std::string& name, const std::string& format,
                 const std::string& bytes, std::vector<BrokenFile>& files) {
    const std::string failure = parseFailure(bytes, format);
    if (!failure.empty()) {
        folder.write(name + "." + format, std::string_view(bytes));
        files.push_back({name + "." + format, failure});
    }
}

std::string repeated(const std::string& part, std::size_t size) {
    std::string text;
    text.reserve(size + part.size());
    while (text.size() < size) {
        text += part;
    }
    return text;
}

}  // namespace quillon::test
