// Text that is not UTF-8. The readers of binary formats accept it. It cannot be written as JSON.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/program_folder.h"
#include "support/documents.h"
#include "support/failure_texts.h"
#include "support/formats.h"

namespace quillon::test {
namespace {

using nlohmann::json;

/// Two bytes that are not UTF-8, which the readers of CBOR and MessagePack accept.
const std::string badText = "a\xff";
const std::string badTextFailure = notUtf8(1);

TEST(NotUtf8, HitsWithTextThatIsNotUtf8EndTheWriting) {
    const TempFolder folder;
    for (const std::string extension : {".cbor", ".msgpack"}) {
        writeGoodRun(folder);
        const std::string name = "drawing" + extension;
        folder.write(name, encoded(encodings({{badText + "*C*1", 1.875}}), extension));
        writeList(folder, {name, "good.json"});
        for (const LoadMode& mode : loadModes) {
            ConsoleText console;
            console.parallel = mode.parallel;
            const std::string searched =
                console.untilFiles(2) + ConsoleText::summary(2, 2, 2, 0) + "Query time: T ms\n";
            ProgramResult result = runIn(folder, mode.arguments("shape"));
            expectCleanEnd(result);
            EXPECT_EQ(result.status, 1);
            EXPECT_EQ(maskTimes(result.out), searched + report(badTextFailure));
            // The text before it has been written.
            EXPECT_EQ(resultText(folder).substr(0, 22), R"({"blocks":[{"code":"G")");

            // A binary result has the same bytes.
            std::vector<std::string> arguments = mode.arguments("shape");
            arguments.insert(arguments.end(), {"/output", "result.cbor"});
            result = runIn(folder, arguments);
            expectCleanEnd(result);
            EXPECT_EQ(result.status, 0);
            const json document = json::from_cbor(readBytes(folder.path() / "result.cbor"));
            EXPECT_EQ(document["blocks"][1]["name"], badText);
        }
    }
}

TEST(NotUtf8, RejectedBlocksWithTextThatIsNotUtf8EndTheDrawing) {
    const TempFolder folder;
    writeGoodRun(folder);
    json drawing = encodings({{"first*F*1", 1.5}, {badText + "*C*1", 1.5}});
    drawing["shape"][1] = nullptr;
    folder.write("drawing.cbor", encoded(drawing, ".cbor"));
    writeList(folder, {"drawing.cbor", "good.json"});
    const std::string rejected = "Invalid shape vector for \"";

    expectFailure(folder, {"/method", "shape"},
                  ConsoleText().untilFiles(2) + rejected + report(badTextFailure));

    ConsoleText console;
    console.parallel = false;
    expectSuccess(runIn(folder, {"/method", "shape", "/no-parallel-load"}),
                  console.untilFiles(2) + rejected +
                      loadModes[1].failureLine("\"drawing.cbor\"", badTextFailure) +
                      ConsoleText::summary(2, 2, 2, 0) + ConsoleText::success());
    EXPECT_EQ(hitMembers(folder, "name"), (std::vector<json>{"first", "good"}));
}

// Such a text is a valid path on Linux. Only writing it as JSON ends the run.
TEST(NotUtf8, ListEntriesWithTextThatIsNotUtf8) {
    const TempFolder folder;
    writeGoodRun(folder);
    for (const std::string extension : {".cbor", ".msgpack"}) {
        const std::string list = "list" + extension;
        folder.write(list, encoded(listDocument({badText + ".json", "good.json"}), extension));
        ConsoleText console;
        console.list = '"' + list + '"';
        console.parallel = false;
        expectFailure(folder, {"/method", "shape", "/no-parallel-load", "/filelist", list},
                      console.untilFiles(2) + "Fail to load \"" + report(badTextFailure));

        console.parallel = true;
        expectSuccess(runIn(folder, {"/method", "shape", "/filelist", list}),
                      console.untilFiles(2) + "Warning: fail to open input file: " + badText +
                          ".json\n" + ConsoleText::summary(2, 1, 1, 0) + ConsoleText::success());
        folder.write("result.json", std::string_view("earlier"));
    }
}

TEST(NotUtf8, QueryTextsThatAreNotUtf8AreMeaningless) {
    const TempFolder folder;
    writeGoodRun(folder);
    folder.write("query.cbor", encoded(with(queryDocument(), "/queryText/0", "Door\xff"), ".cbor"));
    ConsoleText console;
    console.query = "\"query.cbor\"";
    expectSuccess(
        runIn(folder, {"/method", "text", "/encode", "query.cbor"}),
        console.untilFiles(1) + ConsoleText::summary(1, 1, 1, 0) + ConsoleText::success());
}

}  // namespace
}  // namespace quillon::test
