// The same result bytes on one processor and on all.
#ifdef __linux__  // where a command keeps a program to one processor

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/formats.h"
#include "support/random_library.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

/// Runs the query on one processor and on all, and returns the one result that they leave.
std::string resultEverywhere(const std::filesystem::path& folder, const std::string& query,
                             const std::string& topK) {
    std::vector<std::string> results;
    for (const std::vector<std::string>& launcher :
         {std::vector<std::string>{}, std::vector<std::string>{"taskset", "-c", "0"}}) {
        const TempFolder output;
        const ProgramResult result =
            runProgram({"/filelist", "filelist.json", "/encode", query, "/output",
                        utf8FromPath(output.path() / "result.json"), "/topk", topK, "/min", "0.05"},
                       folder, launcher);
        EXPECT_EQ(result.status, 0) << result.out;
        results.push_back(readBytes(output.path() / "result.json"));
    }
    EXPECT_EQ(results[0], results[1]);
    return results[0];
}

TEST(SameEverywhere, SampleDrawings) {
    const auto folder = std::filesystem::path(QUILLON_SOURCE_DIR) / "examples/drawings";
    for (const char* query : {"1-door-23-3", "2-npn", "3-arbre11"}) {
        const std::string result =
            resultEverywhere(folder, std::string("queries/") + query + ".json", "10");
        EXPECT_EQ(nlohmann::json::parse(result).at("blocks").size(), 10U) << query;
    }
}

nlohmann::json rowOf(const FeatureMatrix& matrix, std::size_t row) {
    const float* first = matrix.data() + row * matrix.shape(1);
    return std::vector<float>(first, first + matrix.shape(1));
}

/// The library as an encodings document, no two blocks with one code.
nlohmann::json drawing(const RandomLibrary& library, std::size_t& codes) {
    nlohmann::json document = encodings({});
    for (std::size_t row = 0; row < library.shapeMatrix.shape(0); ++row) {
        const std::string number = std::to_string(++codes);
        document["blocks"].push_back("block" + number + "*code" + number + "*A" + number);
        document["shape"].push_back(rowOf(library.shapeMatrix, row));
        document["text"].push_back(rowOf(library.textMatrix, row));
    }
    return document;
}

// Identical and nearly identical rows are where rounding decides which is nearer.
TEST(SameEverywhere, LibraryFullOfCopies) {
    const TempFolder folder;
    const RandomLibrary near =
        makeRandomLibrary(LibraryKind::nearTwins, LibraryKind::oneCommon, 1000, 1);
    const RandomLibrary common =
        makeRandomLibrary(LibraryKind::oneCommon, LibraryKind::clustered, 1000, 2);
    const RandomLibrary clustered =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::nearTwins, 1000, 3);
    std::vector<std::string> files;
    std::size_t codes = 0;
    for (const RandomLibrary* library : {&near, &common, &clustered}) {
        const std::string name = std::to_string(codes) + ".cbor";
        folder.write(name, encoded(drawing(*library, codes), ".cbor"));
        files.push_back(name);
    }
    folder.write("filelist.json", listDocument(files));
    folder.write("query.json",
                 nlohmann::json({{"shape", nlohmann::json::array({rowOf(near.queryShape, 0)})},
                                 {"text", nlohmann::json::array({rowOf(near.queryText, 0)})},
                                 {"queryText", nlohmann::json::array({"Door"})}}));
    for (const char* topK : {"5", "400"}) {
        const std::string result = resultEverywhere(folder.path(), "query.json", topK);
        EXPECT_GT(nlohmann::json::parse(result).at("blocks").size(), 4U) << topK;
    }
}

}  // namespace
}  // namespace quillon::test

#endif
