// Reading on several threads: the list's order, failures in their places, and an end for whatever
// reason.
#include "library/ordered_reading.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/failure_texts.h"

namespace quillon::test {
namespace {

using nlohmann::json;

constexpr std::size_t entryCount = 3000;  // three times what may wait

std::string drawingName(std::size_t index) {
    return std::to_string(index) + ".json";
}

/// Small drawings with a block named after the entry, of which `missing` in eight are missing.
json listOfDrawings(const TempFolder& folder, std::size_t missing) {
    json files = json::array();
    for (std::size_t i = 0; i < entryCount; ++i) {
        files.push_back(i % 8 < missing
                            ? utf8FromPath(folder.path() / drawingName(i))
                            : writeDrawing(folder, drawingName(i).c_str(),
                                           encodings({{"n*" + std::to_string(i) + "*h", 1.0}})));
    }
    return files;
}

/// Taking an entry takes longer than reading one, so that all the room there is gets used: in bytes
/// where few are missing, in entries where most are.
TEST(ReadInOrder, HandsEveryEntryOverInTheListsOrder) {
    for (const std::size_t missing : {1U, 7U}) {
        const TempFolder folder;
        const json files = listOfDrawings(folder, missing);
        std::size_t index = 0;
        ReadBuffers buffers;
        readInOrder(files, [&](ReadEntry&& entry) {
            for (int i = 0; i < 4; ++i) {
                readEntry(files[7], buffers);
            }
            if (index % 8 < missing) {
                ASSERT_TRUE(entry.failure) << index;
                EXPECT_EQ(
                    thrownText<std::runtime_error>([&] { std::rethrow_exception(entry.failure); }),
                    "fail to open input file: " + files[index].get<std::string>());
            } else {
                ASSERT_FALSE(entry.failure) << index;
                ASSERT_EQ(entry.drawing.blocks.size(), 1U);
                EXPECT_EQ(entry.drawing.blocks[0].key, "n*" + std::to_string(index) + "*h");
                EXPECT_EQ(utf8FromPath(*entry.path), files[index]);
            }
            ++index;
        });
        EXPECT_EQ(index, files.size());
    }
}

TEST(ReadInOrder, WhatIsThrownOnTheWayEndsIt) {
    const TempFolder folder;
    const json files = listOfDrawings(folder, 1);
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
