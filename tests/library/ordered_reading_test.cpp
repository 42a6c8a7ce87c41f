// Reading on several threads: the list's order, failures in their places, and an end for whatever
// reason.
#include "library/ordered_reading.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "shared/utf8_path.h"
#include "support/encodings.h"
#include "support/failure_texts.h"

namespace quillon::test {
namespace {

using nlohmann::json;

/// 3,000 entries, three times what may wait: small drawings with a block named after the entry, one
/// in seven missing.
json listOfDrawings(const TempFolder& folder) {
    json files = json::array();
    for (int i = 0; i < 3000; ++i) {
        const std::string name = std::to_string(i) + ".json";
        files.push_back(i % 7 == 3
                            ? utf8FromPath(folder.path() / name)
                            : writeDrawing(folder, name.c_str(),
                                           encodings({{"n*" + std::to_string(i) + "*h", 1}})));
    }
    return files;
}

TEST(ReadInOrder, HandsEveryEntryOverInTheListsOrder) {
    const TempFolder folder;
    const json files = listOfDrawings(folder);
    std::size_t index = 0;
    readInOrder(files, [&](ReadEntry&& entry) {
        if (index % 7 == 3) {
            ASSERT_TRUE(entry.failure);
            EXPECT_EQ(
                thrownText<std::runtime_error>([&] { std::rethrow_exception(entry.failure); }),
                "fail to open input file: " + files[index].get<std::string>());
        } else {
            ASSERT_FALSE(entry.failure);
            ASSERT_EQ(entry.drawing.blocks.size(), 1U);
            EXPECT_EQ(entry.drawing.blocks[0].key, "n*" + std::to_string(index) + "*h");
            EXPECT_EQ(utf8FromPath(*entry.path), files[index]);
        }
        ++index;
    });
    EXPECT_EQ(index, files.size());
}

TEST(ReadInOrder, WhatIsThrownOnTheWayEndsIt) {
    const TempFolder folder;
    const json files = listOfDrawings(folder);
    for (const std::size_t last : {0U, 1U, 500U, 2999U}) {
        std::size_t index = 0;
        EXPECT_EQ(thrownText<std::runtime_error>([&] {
                      readInOrder(files, [&](ReadEntry&&) {
                          if (index == last) {
                              throw std::runtime_error("enough");
                          }
                          ++index;
                      });
                  }),
                  "enough");
        EXPECT_EQ(index, last);
    }
}

}  // namespace
}  // namespace quillon::test
