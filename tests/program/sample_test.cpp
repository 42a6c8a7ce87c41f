// The program on the real drawings of examples/drawings.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "shared/utf8_path.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

std::vector<std::string> hitNames(const std::string& query, const std::string& method) {
    const TempFolder folder;
    const std::filesystem::path output = folder.path() / "result.json";
    const ProgramResult result =
        runProgram({"/filelist", "filelist.json", "/encode", "queries/" + query, "/output",
                    utf8FromPath(output), "/method", method},
                   std::filesystem::path(QUILLON_SOURCE_DIR) / "examples/drawings");
    EXPECT_EQ(result.status, 0) << result.out << result.error;
    std::vector<std::string> names;
    const auto document = nlohmann::json::parse(readBytes(output));
    for (const auto& block : document.at("blocks")) {
        names.push_back(block.at("name"));
    }
    return names;
}

TEST(SampleDrawings, ListTheDoorsMostLikeADoorByShape) {
    EXPECT_EQ(hitNames("1-door-23-3.json", "shape"),
              (std::vector<std::string>{"Door 23_4", "Door 23_2", "Door 23_6"}));
}

TEST(SampleDrawings, ListTheDoorsMostLikeADoorByText) {
    EXPECT_EQ(hitNames("1-door-23-3.json", "text"),
              (std::vector<std::string>{"Door 23_2", "Door 23_6", "Door 23_4"}));
}

}  // namespace
}  // namespace quillon::test
