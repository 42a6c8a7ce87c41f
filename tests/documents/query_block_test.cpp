// The query document: what is kept of it, when its text overrides the method, and what it may not
// be.
#include "documents/query_block.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "shared/utf8_path.h"
#include "support/failure_texts.h"
#include "support/formats.h"
#include "support/temp_folder.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;
using nlohmann::json;
using namespace test;

/// A faultless document, one member of which a test replaces.
json documentWith(const char* key, const json& value) {
    json document = {{"shape", {{1, 2}}}, {"text", {{3, 4, 5}}}, {"queryText", {"door"}}};
    document[key] = value;
    return document;
}

struct Read {
    QueryBlock query;
    QueryType type;
};

Read readFrom(const json& document, QueryType chosen = QueryType::Adaptive) {
    const TempFolder folder;
    Read read{{}, chosen};
    readQueryBlock(folder.write("query.json", document), read.type, read.query);
    return read;
}

void expectRow(const FeatureMatrix& matrix, const std::vector<float>& values) {
    EXPECT_EQ(matrix.shape(0), 1U);
    EXPECT_EQ(matrix.shape(1), values.size());
    EXPECT_EQ(std::vector<float>(matrix.begin(), matrix.end()), values);
}

TEST(ReadQueryBlock, KeepsRowZeroOfBothSides) {
    const Read read = readFrom({{"shape", {{1, 2}, {3, 4}, {5, 6}}},
                                {"text", {{7, 8, 9}, {10, 11, 12}}},
                                {"queryText", json::array()},
                                {"version", "ignored"}});
    expectRow(read.query.shape, {1, 2});
    expectRow(read.query.text, {7, 8, 9});
}

TEST(ReadQueryBlock, NarrowsEveryKindOfNumberToFloat) {
    const json row = {-3, 16777217U, 0.1, true, false, -0.0, 1e-300};
    const Read read = readFrom(documentWith("shape", json::array({row})));
    expectRow(read.query.shape, {-3.0F, 16777216.0F, 0.1F, 1.0F, 0.0F, -0.0F, 0.0F});
    EXPECT_TRUE(std::signbit(read.query.shape(0, 5)));
}

TEST(ReadQueryBlock, ReadsBinaryFormatsWithTheirNumbersAsTheyStand) {
    const double infinity = std::numeric_limits<double>::infinity();
    const json row = {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()};
    const TempFolder folder;
    QueryBlock query;
    QueryType type = QueryType::ByText;
    const json document = documentWith("text", json::array({row}));
    readQueryBlock(folder.write("query.cbor", encoded(document, ".cbor")), type, query);
    expectRow(query.shape, {1, 2});
    ASSERT_EQ(query.text.shape(1), 3U);
    EXPECT_EQ(query.text(0, 0), std::numeric_limits<float>::infinity());
    EXPECT_EQ(query.text(0, 1), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(query.text(0, 2)));
}

TEST(ReadQueryBlock, LeavesASideWithoutAUsableRowEmpty) {
    for (const char* text : {"null", "5", "\"row\"", "true", "{}", R"({"a":[1]})", "[]", "[[]]",
                             "[1,2,3]", "[null]", R"(["row"])", R"([{"a":1}])", R"([[],5,"x"])"}) {
        SCOPED_TRACE(text);
        const Read shape = readFrom(documentWith("shape", json::parse(text)));
        expectRow(shape.query.shape, {});
        expectRow(shape.query.text, {3, 4, 5});
        const Read other = readFrom(documentWith("text", json::parse(text)));
        expectRow(other.query.shape, {1, 2});
        expectRow(other.query.text, {});
    }
}

TEST(ReadQueryBlock, IgnoresTheSurplusOfALongerRow) {
    const Read read = readFrom(documentWith("shape", {{1, 2}, {3, 4, "surplus"}}));
    expectRow(read.query.shape, {1, 2});
}

constexpr QueryType everyType[] = {QueryType::NotChosen, QueryType::Adaptive, QueryType::ByShape,
                                   QueryType::ByText, QueryType::Simple};

TEST(ReadQueryBlock, KeepsTheMethodWithoutAMeaninglessText) {
    for (const char* text :
         {"null", "[]", "{}", R"(["Door 23_3"])", R"(["1-2"])", R"(["A$c"])", R"([" A$C"])",
          R"(["TÜR 90"])", R"(["door", 5])", R"(["door", "A$C"])"}) {
        for (const QueryType type : everyType) {
            EXPECT_EQ(readFrom(documentWith("queryText", json::parse(text)), type).type, type)
                << text;
        }
    }
}

TEST(ReadQueryBlock, ForcesByShapeWhenTheFirstTextIsMeaningless) {
    for (const char* text : {R"([""])", R"(["ab"])", R"(["1 2 3"])", R"(["A$C"])", R"(["a$c12"])",
                             R"(["door\tleft"])", R"(["ab", "door"])", R"(["ab", 5])"}) {
        for (const QueryType type : everyType) {
            EXPECT_EQ(readFrom(documentWith("queryText", json::parse(text)), type).type,
                      QueryType::ByShape)
                << text;
        }
    }
}

TEST(ReadQueryBlock, StillReadsBothSidesWhenItForcesByShape) {
    const Read read = readFrom(documentWith("queryText", {"ab"}), QueryType::ByText);
    expectRow(read.query.shape, {1, 2});
    expectRow(read.query.text, {3, 4, 5});
}

struct WrongValue {
    const char* value;
    std::string text;
};

void expectTypeErrors(const char* key, const std::vector<WrongValue>& cases) {
    for (const auto& [value, text] : cases) {
        SCOPED_TRACE(std::string(key) + ": " + value);
        const json document = documentWith(key, json::parse(value));
        EXPECT_EQ(thrownText<json::type_error>([&] { readFrom(document); }), text);
    }
}

TEST(ReadQueryBlock, RejectsADocumentThatIsNoObject) {
    for (const auto& [document, type] : std::vector<WrongValue>{{"null", "null"},
                                                                {"[]", "array"},
                                                                {"\"shape\"", "string"},
                                                                {R"([{"shape":[[1]]}])", "array"},
                                                                {"3", "number"},
                                                                {"1.5", "number"},
                                                                {"true", "boolean"}}) {
        EXPECT_EQ(
            thrownText<json::type_error>([&, &value = document] { readFrom(json::parse(value)); }),
            noObject(type));
    }
}

TEST(ReadQueryBlock, RejectsAnElementThatIsNoNumber) {
    for (const char* key : {"shape", "text"}) {
        expectTypeErrors(key, {{R"([[1,"2"]])", noNumber("string")},
                               {"[[null,2]]", noNumber("null")},
                               {"[[1,[2]]]", noNumber("array")},
                               {"[[[],2]]", noNumber("array")},
                               {"[[1,{}]]", noNumber("object")},
                               {R"([[1,{"a":1}]])", noNumber("object")},
                               {R"([[1,2],[3,4],[5,"6"]])", noNumber("string")}});
    }
}

TEST(ReadQueryBlock, RejectsALaterRowThatIsNoArray) {
    for (const char* key : {"shape", "text"}) {
        expectTypeErrors(key, {{"[[1,2],3]", noArray("number")},
                               {"[[1,2],null]", noArray("null")},
                               {R"([[1,2],"34"])", noArray("string")},
                               {"[[1,2],[3,4],{}]", noArray("object")},
                               {R"([[1,2],{"a":1}])", noArray("object")},
                               {"[[1,2],false]", noArray("boolean")}});
    }
}

TEST(ReadQueryBlock, RejectsARowShorterThanRowZero) {
    for (const char* key : {"shape", "text"}) {
        for (const auto& [rows, index] :
             {std::pair{"[[1,2,3],[4,5]]", 2U}, {"[[1,2,3],[]]", 0U}, {"[[1,2],[3,4],[5]]", 1U}}) {
            const json document = documentWith(key, json::parse(rows));
            EXPECT_EQ(thrownText<json::out_of_range>([&] { readFrom(document); }), noIndex(index));
        }
    }
}

TEST(ReadQueryBlock, RejectsAQueryTextThatIsNoArray) {
    expectTypeErrors("queryText", {{"\"door\"", noArray("string")},
                                   {"\"\"", noArray("string")},
                                   {"3", noArray("number")},
                                   {"false", noArray("boolean")},
                                   {R"({"0":"door"})", noArray("object")}});
}

TEST(ReadQueryBlock, RejectsAFirstTextThatIsNoString) {
    expectTypeErrors("queryText", {{"[3]", noString("number")},
                                   {"[null]", noString("null")},
                                   {R"([["door"]])", noString("array")},
                                   {R"([{},"door"])", noString("object")},
                                   {"[true]", noString("boolean")}});
}

TEST(ReadQueryBlock, RejectsAMissingKey) {
    for (const std::string key : {"shape", "text", "queryText"}) {
        json document = documentWith("version", 1);
        document.erase(key);
        EXPECT_EQ(thrownText<json::out_of_range>([&] { readFrom(document); }), noKey(key));
    }
    EXPECT_EQ(thrownText<json::out_of_range>([&] { readFrom(json::object()); }), noKey("shape"));
}

TEST(ReadQueryBlock, LooksUpAllKeysBeforeItReadsAValue) {
    json document = documentWith("shape", {{"no number"}});
    document.erase("queryText");
    EXPECT_EQ(thrownText<json::out_of_range>([&] { readFrom(document); }), noKey("queryText"));
}

TEST(ReadQueryBlock, PassesOnTheFailuresOfTheFile) {
    const TempFolder folder;
    QueryBlock query;
    QueryType type = QueryType::ByText;
    const auto missing = folder.path() / "none.json";
    EXPECT_EQ(thrownText<std::runtime_error>([&] { readQueryBlock(missing, type, query); }),
              "fail to open input file: " + utf8FromPath(missing));
    const auto unknown = folder.write("query.txt", "{}"sv);
    EXPECT_EQ(thrownText<std::runtime_error>([&] { readQueryBlock(unknown, type, query); }),
              "Unknown input file format! " + utf8FromPath(unknown));
    const auto cut = folder.write("query.cbor", "\xA1"sv);
    EXPECT_EQ(thrownText<json::parse_error>([&] { readQueryBlock(cut, type, query); }),
              parseErrorText(110, "byte 2", "CBOR string: unexpected end of input"));
    const auto deep = folder.write("query.msgpack", std::string(1'000'000, '\x91'));
    EXPECT_EQ(thrownText<std::runtime_error>([&] { readQueryBlock(deep, type, query); }),
              "document nested deeper than 500 levels: " + utf8FromPath(deep));
    EXPECT_EQ(type, QueryType::ByText);
}

}  // namespace
}  // namespace quillon
