// The command line of the real program: what each option changes, and what a wrong one leaves.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/program_folder.h"
#include "shared/utf8_path.h"
#include "support/documents.h"

namespace quillon::test {
namespace {

/// Squared distances from the query: 0, 0.0625, 0.25, 1 and 4 on both sides.
void writeFiveBlocks(const TempFolder& folder) {
    writeQueryAndList(folder, {"drawing/five.json"});
    folder.write("drawing/five.json", encodings({{"middle*M*1", 1.5},
                                                 {"near*N*2", 1.25},
                                                 {"far*F*3", 2},
                                                 {"twin*T*4", 1},
                                                 {"farther*G*5", 3}}));
}

std::string joined(const std::vector<nlohmann::json>& names) {
    std::string text;
    for (const auto& name : names) {
        text += (text.empty() ? "" : " ") + name.get<std::string>();
    }
    return text;
}

TEST(CommandLine, WithoutARequiredPathEndsInOneTextWithoutLineFeed) {
    struct Case {
        std::vector<std::string> arguments;
        std::string text;
    };
    const TempFolder folder;
    writeFiveBlocks(folder);
    for (const auto& [arguments, text] :
         std::vector<Case>{{{}, "ERROR: The input dwg file list path is empty"},
                           {{"/filelist", "list.json", "/output", "result.json"},
                            "ERROR: The input block encode path is empty"},
                           {{"/filelist", "list.json", "/encode", "query.json", "/output", ""},
                            "ERROR: The input output file path is empty"}}) {
        const ProgramResult result = runProgram(arguments, folder.path());
        expectCleanEnd(result);
        EXPECT_EQ(result.status, 255);
        EXPECT_EQ(result.out, text);
        EXPECT_EQ(resultText(folder), "(none)");
    }
}

TEST(CommandLine, WithABadValueEndsBeforeTheSettings) {
    const TempFolder folder;
    writeGoodRun(folder);
    expectFailure(folder, {"/topk", "x3"}, report("invalid stoi argument"));
    expectFailure(folder, {"/min", "1e39"}, report("stof argument out of range"));
    expectFailure(folder, {"/method", "shape "}, report("shape  is not a valid query type"));
}

TEST(CommandLine, OptionsShowInTheSettingsAndInTheHits) {
    struct Case {
        std::vector<std::string> arguments;
        ConsoleText console;
        std::string hits;
    };
    const auto byText = [](const std::string& topK, const std::string& threshold) {
        ConsoleText console;
        console.topK = topK;
        console.method = "ByText";
        console.threshold = threshold;
        return console;
    };
    const auto byShape = [](const std::string& topK) {
        ConsoleText console;
        console.topK = topK;
        return console;
    };
    ConsoleText pretty;
    pretty.pretty = true;
    ConsoleText plain;
    plain.parallel = false;
    plain.dedupe = false;
    const std::vector<Case> cases{
        {{"/method", "shape"}, byShape("5"), "near middle"},
        {{"/method", "text"}, byText("5", "0.3"), "twin near middle"},
        {{"/method", "text", "/method", "shape"}, byShape("5"), "near middle"},
        {{"/method", "shape", "/pretty", "/pretty"}, pretty, "near middle"},
        {{"/method", "shape", "/no-dedup", "/no-parallel-load"}, plain, "near middle"},
        // The twin takes one of the places.
        {{"/method", "shape", "/topk", "2"}, byShape("2"), "near"},
        {{"/method", "text", "/topk", "2"}, byText("2", "0.3"), "twin near"},
        {{"/method", "shape", "/topk", "1000"}, byShape("1000"), "near middle"},
        {{"/method", "shape", "/topk", "-1"}, byShape("4294967295"), "near middle"},
        {{"/method", "shape", "/topk", "2147483647"}, byShape("2147483647"), "near middle"},
        // ByShape has a limit of its own.
        {{"/method", "shape", "/min", "0.9"}, byShape("5"), "near middle"},
        {{"/method", "shape", "/min", "-9"}, byShape("5"), "near middle"},
        // A distance on the limit is too far.
        {{"/method", "text", "/min", "0.75"}, byText("5", "0.75"), "twin near"},
        {{"/method", "text", "/min", "0"}, byText("5", "0"), "twin near middle"},
        {{"/method", "text", "/min", "-0.5"}, byText("5", "-0.5"), "twin near middle far"},
        {{"/method", "text", "/min", "9", "/min", "-4"},
         byText("5", "-4"),
         "twin near middle far farther"},
        {{"/method", "text", "/min", "1"}, byText("5", "1"), ""},
        {{"/method", "text", "/min", "inf"}, byText("5", "inf"), ""},
        {{"/method", "text", "/min", "-inf"}, byText("5", "-inf"), "twin near middle far farther"},
        {{"/method", "text", "/min", "nan"}, byText("5", "nan"), ""},
        {{"/method", "text", "/min", ".3333333"}, byText("5", "0.333333"), "twin near middle"},
        {{"/method", "text", "/min", "-1e30"},
         byText("5", "-1e+30"),
         "twin near middle far farther"},
        // Unknown tokens, also misspelled options with their values, change nothing.
        {{"stray", "/Pretty", "/topk=1", "/TOPK", "1", "--", "/method", "shape", "/?", ""},
         byShape("5"),
         "near middle"},
    };
    const TempFolder folder;
    writeFiveBlocks(folder);
    for (const Case& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.arguments));
        expectSuccess(
            runIn(folder, each.arguments),
            each.console.untilFiles(1) + ConsoleText::summary(1, 5, 5, 0) + ConsoleText::success());
        EXPECT_EQ(joined(hitMembers(folder, "name")), each.hits);
    }
}

// Adaptive divides by the number of hits asked for, so a wrong one shows in every score.
TEST(CommandLine, AllHitsAreAsManyAsTheLibraryHasRowsWithoutDuplicates) {
    std::vector<MarkedBlock> blocks;
    for (std::size_t i = 0; i < 10; ++i) {
        const auto place = static_cast<double>(i);
        blocks.push_back({"block*" + std::to_string(i) + "*1", 1.25 + place * place / 64});
    }
    const TempFolder folder;
    writeQueryAndList(folder, {"a.json"});
    const auto hitsOf = [&](std::size_t duplicates) {
        folder.write("a.json", encodings(blocks));
        ConsoleText console;
        console.method = "Adaptive";
        console.topK = "4294967295";
        console.threshold = "-1";
        expectSuccess(runIn(folder, {"/method", "adaptive", "/topk", "-1", "/min", "-1"}),
                      console.untilFiles(1) +
                          ConsoleText::summary(1, blocks.size(), 10, duplicates) +
                          ConsoleText::success());
        return nlohmann::json::parse(resultText(folder)).at("blocks");
    };
    const nlohmann::json hits = hitsOf(0);
    EXPECT_EQ(hits.size(), 10U);
    for (std::size_t i = 0; i < 8; ++i) {
        blocks.push_back(MarkedBlock(blocks[i]));
    }
    EXPECT_EQ(hitsOf(8), hits);
}

TEST(CommandLine, NoNeighboursAskedForEndsInTheIndexsException) {
    const TempFolder folder;
    writeFiveBlocks(folder);
    folder.write("result.json", std::string_view("earlier"));
    for (const std::string method : {"shape", "text"}) {
        ConsoleText console;
        console.topK = "0";
        console.method = method == "shape" ? "ByShape" : "ByText";
        console.threshold = method == "shape" ? "0.2" : "0.3";
        const ProgramResult result = runIn(folder, {"/method", method, "/topk", "0"});
        expectCleanEnd(result);
        EXPECT_EQ(result.status, 1);
        const std::string out = maskTimes(result.out);
        const std::string start =
            console.untilFiles(1) + ConsoleText::summary(1, 5, 5, 0) + "exception: Error in ";
        // Between them stands the place in the index's sources.
        const std::string end = "Error: 'k > 0' failed\n";
        EXPECT_TRUE(out.starts_with(start)) << out;
        EXPECT_TRUE(out.ends_with(end)) << out;
        EXPECT_EQ(resultText(folder), "earlier");
    }
}

TEST(CommandLine, PathsAreTakenAsTheyStandAndPrintedQuoted) {
    struct Case {
        std::string name;
        std::string printed;  // without the quotes around it
    };
    const std::vector<Case> cases{{"with blank.json", "with blank.json"},
                                  {"TÜR 90.json", "TÜR 90.json"},
                                  {"椅子.json", "椅子.json"},
                                  {"🚪.json", "🚪.json"},
#ifndef _WIN32  // which has no such names
                                  {R"(a"quote.json)", R"(a\"quote.json)"},
                                  {R"(back\slash.json)", R"(back\\slash.json)"},
#endif
                                  {"a.b.json", "a.b.json"}};
    const TempFolder folder;
    writeFiveBlocks(folder);
    for (const auto& [name, printed] : cases) {
        SCOPED_TRACE(name);
        folder.write(name, queryDocument());
        folder.write("list " + name, listDocument({"drawing/five.json"}));
        ConsoleText console;
        console.query = '"' + printed + '"';
        console.list = "\"list " + printed + '"';
        console.output = "\"out " + printed + '"';
        expectSuccess(
            runIn(folder, {"/encode", name, "/filelist", "list " + name, "/output", "out " + name,
                           "/method", "shape"}),
            console.untilFiles(1) + ConsoleText::summary(1, 5, 5, 0) + ConsoleText::success());
        EXPECT_TRUE(nlohmann::json::accept(readBytes(folder.path() / pathFromUtf8("out " + name))));
    }
}

TEST(CommandLine, AnOptionInThePlaceOfAValueIsThatValue) {
    const TempFolder folder;
    writeFiveBlocks(folder);
    folder.write("result.json", std::string("earlier"));
    ConsoleText console;
    console.list = R"("/pretty")";
    expectFailure(folder, {"/filelist", "/pretty"},
                  console.untilLoad() + report("fail to open input file: /pretty"));
}

// Halves of a surrogate pair, which Windows lets pass in names, have three bytes that are not
// UTF-8.
TEST(CommandLine, HalvesOfASurrogatePairAreTextLikeAnyOther) {
    const TempFolder folder;
    writeGoodRun(folder);
    for (const std::string text :
         {"\xED\xA0\xBD", "\xED\xBA\xAA.json", "Tür \xED\xA0\xBDx 🚪.json"}) {
        SCOPED_TRACE(text);
        expectFailure(folder, {"/method", text}, report(text + " is not a valid query type"));

        ConsoleText console;
        console.query = '"' + text + '"';
        expectFailure(folder, {text, "/encode", text},
                      console.settings() + report("fail to open input file: " + text));

        console = {};
        console.list = '"' + text + '"';
        expectFailure(folder, {"/filelist", text},
                      console.untilLoad() + report("fail to open input file: " + text));
    }
}

#ifdef _WIN32

TEST(CommandLine, HalvesOfASurrogatePairNameNoResultFile) {
    const TempFolder folder;
    writeGoodRun(folder);
    const std::string name = "\xED\xA0\xBD.json";
    ConsoleText console;
    console.output = '"' + name + '"';
    expectFailure(folder, {"/output", name},
                  console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) + "Query time: T ms\n" +
                      report("fail to open output file: " + name));
}

#endif

}  // namespace
}  // namespace quillon::test
