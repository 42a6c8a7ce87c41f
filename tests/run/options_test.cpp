// The command line: nine options, their values, and every possible mistake.
#include "run/options.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/failure_texts.h"

namespace quillon::test {
namespace {

using test::ConsoleCapture;
using test::thrownText;
using Arguments = std::vector<std::string>;

/// Returns the three required paths, followed by `more`.
Arguments complete(const Arguments& more) {
    Arguments arguments{"quillon",    "/filelist", "list.json", "/encode",
                        "query.json", "/output",   "out.json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// Returns the options of a complete command line with `more`, which must print nothing.
RunOptions parsed(const Arguments& more) {
    RunOptions options;
    const ConsoleCapture console;
    EXPECT_TRUE(parseArguments(complete(more), options));
    EXPECT_EQ(console.text(), "");
    return options;
}

/// Returns the text of the exception. Nothing must be printed before it.
template <class Exception>
std::string rejected(const Arguments& more) {
    RunOptions options;
    const ConsoleCapture console;
    std::string text = thrownText<Exception>([&] { parseArguments(complete(more), options); });
    EXPECT_EQ(console.text(), "");
    return text;
}

void expectOptions(const RunOptions& actual, const RunOptions& expected) {
    EXPECT_EQ(actual.pretty, expected.pretty);
    EXPECT_EQ(actual.parallelLoad, expected.parallelLoad);
    EXPECT_EQ(actual.dedupe, expected.dedupe);
    EXPECT_EQ(actual.topK, expected.topK);
    EXPECT_EQ(actual.minThreshold, expected.minThreshold);
    EXPECT_EQ(actual.fileList, expected.fileList);
    EXPECT_EQ(actual.queryBlock, expected.queryBlock);
    EXPECT_EQ(actual.output, expected.output);
    EXPECT_EQ(actual.queryType, expected.queryType);
}

RunOptions defaults() {
    RunOptions options;
    options.fileList = "list.json";
    options.queryBlock = "query.json";
    options.output = "out.json";
    return options;
}

TEST(RunOptions, HasTheDocumentedDefaults) {
    const RunOptions options;
    EXPECT_FALSE(options.pretty);
    EXPECT_TRUE(options.parallelLoad);
    EXPECT_TRUE(options.dedupe);
    EXPECT_EQ(options.topK, 5U);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(options.minThreshold), 0x3e99999aU);
    EXPECT_TRUE(options.fileList.empty());
    EXPECT_TRUE(options.queryBlock.empty());
    EXPECT_TRUE(options.output.empty());
    EXPECT_EQ(options.queryType, QueryType::NotChosen);
}

TEST(ParseArguments, NamesTheFirstMissingPath) {
    const std::string noList = "ERROR: The input dwg file list path is empty";
    const std::string noQuery = "ERROR: The input block encode path is empty";
    const std::string noOutput = "ERROR: The input output file path is empty";
    const struct {
        Arguments arguments;
        std::string text;
    } cases[] = {
        {{}, noList},
        {{"quillon"}, noList},
        {{"quillon", ""}, noList},
        {{"/filelist", "list.json"}, noList},  // element 0 is the program's own name
        {{"quillon", "/encode", "q.json", "/output", "o.json"}, noList},
        {{"quillon", "/filelist", "", "/encode", "q.json", "/output", "o.json"}, noList},
        {{"quillon", "/FILELIST", "l.json", "/encode", "q.json", "/output", "o.json"}, noList},
        {{"quillon", "filelist", "l.json", "/encode", "q.json", "/output", "o.json"}, noList},
        {{"quillon", "/filelist=l.json", "/encode", "q.json", "/output", "o.json"}, noList},
        {{"quillon", "/filelist"}, noList},
        {{"quillon", "/encode", "q.json", "/output", "o.json", "/filelist"}, noList},
        {{"quillon", "/filelist", "l.json"}, noQuery},
        {{"quillon", "/output", "o.json", "/filelist", "l.json"}, noQuery},
        {{"quillon", "/output", "o.json", "/filelist", "l.json", "/encode"}, noQuery},
        {{"quillon", "/filelist", "l.json", "/encode", "q.json"}, noOutput},
        {{"quillon", "/filelist", "l.json", "/encode", "q.json", "/output"}, noOutput},
        // A later empty value replaces an earlier one.
        {complete({"/filelist", ""}), noList},
        {complete({"/encode", ""}), noQuery},
        {complete({"/output", ""}), noOutput},
        // The value of an option is not read as an option.
        {{"quillon", "/encode", "/filelist", "l.json", "/output", "o.json"}, noList},
    };
    for (const auto& [arguments, text] : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        RunOptions options;
        const ConsoleCapture console;
        EXPECT_FALSE(parseArguments(arguments, options));
        EXPECT_EQ(console.text(), text);
    }
}

TEST(ParseArguments, KeepsFieldsThatAreNotNamed) {
    expectOptions(parsed({}), defaults());
}

TEST(ParseArguments, ReadsTheThreePaths) {
    RunOptions options;
    EXPECT_TRUE(parseArguments(
        {"quillon", "/output", "Türen/out.bson", "/encode", "/椅子.cbor", "/filelist", "a b.json"},
        options));
    EXPECT_EQ(options.output, pathFromUtf8("Türen/out.bson"));
    EXPECT_EQ(options.queryBlock, pathFromUtf8("/椅子.cbor"));
    EXPECT_EQ(options.fileList, pathFromUtf8("a b.json"));
}

TEST(ParseArguments, SetsEachFlagAlone) {
    RunOptions expected = defaults();
    expected.dedupe = false;
    expectOptions(parsed({"/no-dedup"}), expected);
    expected = defaults();
    expected.parallelLoad = false;
    expectOptions(parsed({"/no-parallel-load"}), expected);
    expected = defaults();
    expected.pretty = true;
    expectOptions(parsed({"/pretty"}), expected);
    expectOptions(parsed({"/pretty", "/pretty"}), expected);
}

TEST(ParseArguments, SkipsUnknownTokens) {
    for (const char* token :
         {"stray", "", "/", "/PRETTY", "/Pretty", "/pretty ", "/prett", "/prettyy", "pretty",
          "-pretty", "--pretty", "/topk=3", "/topk:3", "/min=1", "/method=text", "/?", "/help"}) {
        SCOPED_TRACE(token);
        expectOptions(parsed({token}), defaults());
    }
    RunOptions options;
    EXPECT_TRUE(parseArguments({"quillon", "a", "/filelist", "list.json", "b", "/encode",
                                "query.json", "c", "/output", "out.json"},
                               options));
    expectOptions(options, defaults());
}

TEST(ParseArguments, TakesTheNextTokenAsValueEvenIfItIsAnOption) {
    RunOptions expected = defaults();
    expected.fileList = "/pretty";
    expectOptions(parsed({"/filelist", "/pretty"}), expected);
    expected.fileList = "/filelist";
    expectOptions(parsed({"/filelist", "/filelist"}), expected);
    EXPECT_EQ(rejected<std::invalid_argument>({"/topk", "/pretty"}), "invalid stoi argument");
}

TEST(ParseArguments, LetsTheLaterOccurrenceWin) {
    RunOptions expected = defaults();
    expected.minThreshold = 0.75F;
    expected.topK = 9;
    expected.queryType = QueryType::ByText;
    expected.output = "other.json";
    expectOptions(parsed({"/min", "0.5", "/topk", "8", "/method", "shape", "/min", "0.75", "/topk",
                          "9", "/method", "text", "/output", "other.json"}),
                  expected);
    EXPECT_EQ(rejected<std::invalid_argument>({"/method", "none", "/method", "text"}),
              "none is not a valid query type");
}

TEST(ParseArguments, ReadsTopKBitForBit) {
    const struct {
        const char* text;
        std::uint32_t value;
    } cases[] = {
        {"7", 7},
        {"0", 0},
        {"007", 7},
        {" \t12", 12},
        {"+4", 4},
        {"3x", 3},
        {"12abc", 12},
        {"2.9", 2},
        {"0x10", 0},
        {"2147483647", 2147483647U},
        {"-1", 4294967295U},
        {"-2147483648", 2147483648U},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(parsed({"/topk", text}).topK, value) << text;
    }
}

TEST(ParseArguments, RejectsTopKWithoutANumber) {
    for (const char* text : {"x3", "", " ", "-", "+", "two", ".5"}) {
        EXPECT_EQ(rejected<std::invalid_argument>({"/topk", text}), "invalid stoi argument")
            << text;
    }
    EXPECT_EQ(rejected<std::invalid_argument>({"/topk"}), "invalid stoi argument");
}

TEST(ParseArguments, RejectsTopKBeyond32Bits) {
    for (const char* text : {"2147483648", "-2147483649", "4294967296", "99999999999999999999",
                             "-99999999999999999999x"}) {
        EXPECT_EQ(rejected<std::out_of_range>({"/topk", text}), "stoi argument out of range")
            << text;
    }
}

TEST(ParseArguments, ReadsMinAsAFloat) {
    const float infinity = std::numeric_limits<float>::infinity();
    const struct {
        const char* text;
        float value;
    } cases[] = {
        {"0.9", 0.9F},     {"0.5x", 0.5F},      {" +1", 1.0F},          {"-0.25", -0.25F},
        {".5", 0.5F},      {"1e-3", 1e-3F},     {"0x1p-2", 0.25F},      {"0,5", 0.0F},
        {"inf", infinity}, {"-inf", -infinity}, {"INFINITY", infinity}, {"16777217", 16777216.0F},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(parsed({"/min", text}).minThreshold, value) << text;
    }
    EXPECT_TRUE(std::isnan(parsed({"/min", "nan"}).minThreshold));
}

TEST(ParseArguments, RejectsMinWithoutANumber) {
    for (const char* text : {"x0.5", "x", "", " ", ".", "-", "e5"}) {
        EXPECT_EQ(rejected<std::invalid_argument>({"/min", text}), "invalid stof argument") << text;
    }
    EXPECT_EQ(rejected<std::invalid_argument>({"/min"}), "invalid stof argument");
}

TEST(ParseArguments, RejectsMinBeyondTheFloatRange) {
    for (const char* text : {"1e50", "1e39", "-1e39", "1e-50", "-1e-50"}) {
        EXPECT_EQ(rejected<std::out_of_range>({"/min", text}), "stof argument out of range")
            << text;
    }
}

TEST(ParseArguments, IgnoresAnEarlierRangeError) {
    errno = ERANGE;
    EXPECT_EQ(parsed({"/topk", "3"}).topK, 3U);
    errno = ERANGE;
    EXPECT_EQ(parsed({"/min", "0.5"}).minThreshold, 0.5F);
}

TEST(ParseArguments, ReadsTheMethod) {
    EXPECT_EQ(parsed({"/method", "adaptive"}).queryType, QueryType::Adaptive);
    EXPECT_EQ(parsed({"/method", "shape"}).queryType, QueryType::ByShape);
    EXPECT_EQ(parsed({"/method", "text"}).queryType, QueryType::ByText);
    EXPECT_EQ(parsed({"/method", "simple"}).queryType, QueryType::Simple);
}

TEST(ParseArguments, RejectsAnUnknownMethod) {
    for (const std::string text :
         {"Adaptive", "", "shap", "shapes", "shape ", " text", "1", "2", "/pretty"}) {
        EXPECT_EQ(rejected<std::invalid_argument>({"/method", text}),
                  text + " is not a valid query type");
    }
    EXPECT_EQ(rejected<std::invalid_argument>({"/method"}), " is not a valid query type");
}

TEST(ParseArguments, StopsAtABadValue) {
    RunOptions options;
    const ConsoleCapture console;
    EXPECT_EQ(thrownText<std::invalid_argument>([&] {
                  parseArguments({"quillon", "/no-dedup", "/topk", "x", "/pretty"}, options);
              }),
              "invalid stoi argument");
    EXPECT_FALSE(options.dedupe);
    EXPECT_FALSE(options.pretty);
    EXPECT_EQ(console.text(), "");
    EXPECT_EQ(rejected<std::invalid_argument>({"/topk", "x", "/min", "x"}),
              "invalid stoi argument");
    // Before the check for empty paths.
    EXPECT_EQ(rejected<std::invalid_argument>({"/output", "", "/min", "x"}),
              "invalid stof argument");
}

}  // namespace
}  // namespace quillon::test
