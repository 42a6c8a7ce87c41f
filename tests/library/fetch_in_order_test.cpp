// Fetching on several threads: the list's order, failures in their places, and an end for whatever
// reason.
#include "library/fetch_in_order.h"

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "library/fetch_drawing.h"
#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/failure_texts.h"

namespace quillon::test {
namespace {

using nlohmann::json;

constexpr std::size_t drawingCount = 3000;  // three times as many as may wait

std::string drawingName(std::size_t index) {
    return std::to_string(index) + ".json";
}

/// Small drawings with a block named after its place, of which `missing` in eight are missing.
json listOfDrawings(const TempFolder& folder, std::size_t missing) {
    json files = json::array();
    for (std::size_t i = 0; i < drawingCount; ++i) {
        files.push_back(i % 8 < missing
                            ? utf8FromPath(folder.path() / drawingName(i))
                            : writeDrawing(folder, drawingName(i).c_str(),
                                           encodings({{"n*" + std::to_string(i) + "*h", 1.0}})));
    }
    return files;
}

/// Taking a drawing takes longer than fetching one, so that all the room there is gets used: in
/// bytes where few are missing, in drawings where most are.
TEST(FetchInOrder, HandsEveryDrawingOverInTheListsOrder) {
    for (const std::size_t missing : {1U, 7U}) {
        const TempFolder folder;
        const json files = listOfDrawings(folder, missing);
        std::size_t index = 0;
        simdjson::dom::parser parser;
        fetchInOrder(files, [&](Drawing&& drawing) {
            for (int i = 0; i < 4; ++i) {
                fetchDrawing(files[7], parser);
            }
            if (index % 8 < missing) {
                ASSERT_TRUE(drawing.failure && !drawing.isReadable) << index;
                EXPECT_EQ(thrownText<std::runtime_error>(
                              [&] { std::rethrow_exception(drawing.failure); }),
                          "fail to open input file: " + files[index].get<std::string>());
            } else {
                ASSERT_FALSE(drawing.failure) << index;
                ASSERT_EQ(drawing.blocks.size(), 1U);
                EXPECT_EQ(drawing.blocks[0].key, "n*" + std::to_string(index) + "*h");
                EXPECT_EQ(utf8FromPath(*drawing.path), files[index]);
            }
            ++index;
        });
        EXPECT_EQ(index, files.size());
    }
}

TEST(FetchInOrder, WhatIsThrownOnTheWayEndsIt) {
    const TempFolder folder;
    const json files = listOfDrawings(folder, 1);
    for (const std::size_t last : {0U, 1U, 500U, 2999U}) {
        std::size_t index = 0;
        EXPECT_EQ(thrownText<std::runtime_error>([&] {
                      fetchInOrder(files, [&](Drawing&&) {
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

/// Consumes many drawings, slowly, and writes each of them anew `ahead` drawings before its turn:
/// it must not have been fetched by then, or it comes as it was before.
void expectNoneFetchedEarlier(std::size_t ahead, const json& early, const json& late,
                              const std::function<void(const Drawing&)>& expectLate) {
    const TempFolder folder;
    json files = json::array();
    for (std::size_t i = 0; i < drawingCount; ++i) {
        files.push_back(utf8FromPath(folder.write(drawingName(i), i < ahead ? late : early)));
    }
    std::size_t index = 0;
    fetchInOrder(files, [&](Drawing&& drawing) {
        SCOPED_TRACE(index);
        expectLate(drawing);
        if (index + ahead < drawingCount) {
            folder.write(drawingName(index + ahead), late);
        }
        ++index;
    });
    EXPECT_EQ(index, drawingCount);
}

/// Drawings whose only block is rejected hold no rows, so their number alone is the limit.
TEST(FetchInOrder, NoMoreDrawingsWaitThanMay) {
    const auto rejected = [](const char* key) {
        return json{{"blocks", {key}}, {"shape", {0}}, {"text", {0}}};
    };
    expectNoneFetchedEarlier(
        maxDrawingsInFlight + 1, rejected("early"), rejected("late"), [](const Drawing& drawing) {
            EXPECT_EQ(drawing.diagnostics, "Invalid shape vector for \"late\"\n");
        });
}

/// The limit in drawings, and one for each that may be decoded when the limit is reached.
TEST(FetchInOrder, NoMoreBytesWaitThanMay) {
    const std::size_t bytesOfDrawing = [] {
        Drawing drawing;
        drawing.shapes.append();
        drawing.texts.append();
        return drawing.shapes.capacityBytes() + drawing.texts.capacityBytes();
    }();
    const std::size_t ahead = maxBytesInFlight / bytesOfDrawing + maxReaders + 2;
    ASSERT_LT(ahead, maxDrawingsInFlight);
    expectNoneFetchedEarlier(ahead, encodings({{"early*E*1", 1.0}}), encodings({{"late*L*1", 1.0}}),
                             [](const Drawing& drawing) {
                                 ASSERT_EQ(drawing.blocks.size(), 1U);
                                 EXPECT_EQ(drawing.blocks[0].key, "late*L*1");
                             });
}

}  // namespace
}  // namespace quillon::test
