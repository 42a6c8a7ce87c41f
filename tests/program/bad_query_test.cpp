// Queries that parse but are not what they should be: every kind of value in every place. A run
// ends with the right report, and an earlier result stays.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/program_folder.h"
#include "program/wrong_documents.h"

namespace quillon::test {
namespace {

using nlohmann::json;

TEST(BadQuery, QueriesOfAWrongStructureEndTheRunBeforeTheLoad) {
    const json good = queryDocument();
    const json object = {{"a", 1}};
    const std::vector<WrongDocument> cases{
        {nullptr, objectWanted + "null"},
        {true, objectWanted + "boolean"},
        {5, objectWanted + "number"},
        {1.5, objectWanted + "number"},
        {"x", objectWanted + "string"},
        {json::array({good}), objectWanted + "array"},
        {json::object(), keyWanted + "'shape' not found"},
        {without(good, "shape"), keyWanted + "'shape' not found"},
        {without(good, "text"), keyWanted + "'text' not found"},
        {without(good, "queryText"), keyWanted + "'queryText' not found"},
        {with(good, "/shape/0/511", nullptr), numberWanted + "null"},
        {with(good, "/shape/0/0", "1"), numberWanted + "string"},
        {with(good, "/shape/0/7", {1}), numberWanted + "array"},
        {with(good, "/shape/0/7", object), numberWanted + "object"},
        {with(good, "/text/0/383", nullptr), numberWanted + "null"},
        {with(good, "/text/0/0", json::array()), numberWanted + "array"},
        // Later rows are read, though nothing is done with them.
        {with(good, "/shape/1", nullptr), arrayWanted + "null"},
        {with(good, "/shape/1", 5), arrayWanted + "number"},
        {with(good, "/text/1", "row"), arrayWanted + "string"},
        {with(good, "/text/1", object), arrayWanted + "object"},
        {with(good, "/shape/1", {1, 2, 3}),
         "[json.exception.out_of_range.401] array index 3 is out of range"},
        {with(good, "/text/1", json::array()),
         "[json.exception.out_of_range.401] array index 0 is out of range"},
        {with(with(good, "/shape/1", vectorOf(512, 0)), "/shape/2", vectorOf(511, 0)),
         "[json.exception.out_of_range.401] array index 511 is out of range"},
        {with(good, "/queryText", "Door 23_3"), arrayWanted + "string"},
        {with(good, "/queryText", 5), arrayWanted + "number"},
        {with(good, "/queryText", false), arrayWanted + "boolean"},
        {with(good, "/queryText", object), arrayWanted + "object"},
        {with(good, "/queryText", {nullptr}), stringWanted + "null"},
        {with(good, "/queryText", {5}), stringWanted + "number"},
        {with(good, "/queryText", {true}), stringWanted + "boolean"},
        {with(good, "/queryText", json::array({{"Door 23_3"}})), stringWanted + "array"},
        {with(good, "/queryText", json::array({object})), stringWanted + "object"},
    };
    const TempFolder folder;
    writeGoodRun(folder, {"bad.json", "good.json"});
    for (const WrongDocument& each : cases) {
        SCOPED_TRACE(each.text);
        folder.write("query.json", each.document);
        expectFailure(folder, {"/method", "shape"}, ConsoleText().settings() + report(each.text));
    }
}

TEST(BadQuery, QueriesNarrowerThanTheLibraryEndTheSearch) {
    const json good = queryDocument();
    struct Width {
        json value;
        std::size_t width;
    };
    const std::vector<Width> values{{nullptr, 0},
                                    {"x", 0},
                                    {5, 0},
                                    {json::array(), 0},
                                    {{{"a", 1}}, 0},
                                    {json::array({json::array()}), 0},
                                    {vectorOf(512, 1), 0},
                                    {{"row"}, 0},
                                    {json::array({{{"a", 1}}}), 0},
                                    {json::array({{1, 2, 3}}), 3},
                                    {json::array({vectorOf(383, 1)}), 383}};
    const TempFolder folder;
    writeGoodRun(folder, {"bad.json", "good.json"});
    folder.write("bad.json", drawingDocument({{"first*A*1", 1.25}, {"second*B*2", 1.5}}));
    for (const auto& [value, width] : values) {
        for (const std::string side : {"shape", "text"}) {
            SCOPED_TRACE(side + " " + value.dump());
            folder.write("query.json", with(good, "/" + side, value));
            ConsoleText console;
            console.method = side == "shape" ? "ByShape" : "ByText";
            console.threshold = side == "shape" ? "0.2" : "0.3";
            expectFailure(folder, {"/method", side},
                          console.untilFiles(2) + ConsoleText::summary(2, 3, 3, 0) +
                              report("the query's " + side + " vector has " +
                                     std::to_string(width) + " elements, the library's rows have " +
                                     (side == "shape" ? "512" : "384")));
        }
    }
}

}  // namespace
}  // namespace quillon::test
