// The stacked rows of one side and which of them are identical.
#include "search/adaptive/stacked_side.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "support/plain_neighbours.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

TEST(StackSide, PutsTheQueryInFront) {
    const NarrowSide narrow({5.0F, 1.0F, 2.0F});
    const StackedSide side = stackSide(narrow.query, narrow.library, 3, runnableKernels().front());
    EXPECT_EQ(side.query, &narrow.query);
    EXPECT_EQ(side.library, &narrow.library);
    EXPECT_EQ(side.rowCount, 3U);
    EXPECT_EQ(side.width, 3U);
    EXPECT_EQ(side.workers, 3U);
    EXPECT_EQ(side.kernel.measureTile, runnableKernels().front().measureTile);
    EXPECT_EQ(vectorOf(side, 0)[0], 5.0F);
    EXPECT_EQ(vectorOf(side, 1)[0], 1.0F);
    EXPECT_EQ(vectorOf(side, 2)[0], 2.0F);
}

TEST(StackSide, TakesAQueryWithoutALibrary) {
    const NarrowSide narrow({5.0F});
    const StackedSide side = sideOf(narrow);
    EXPECT_EQ(side.rowCount, 1U);
    EXPECT_EQ(side.distinct, Rows{0});
}

TEST(StackSide, FindsIdenticalRows) {
    const NarrowSide narrow({2.0F, 1.0F, 2.0F, 3.0F, 1.0F, 2.0F, 1.0F, 4.0F});
    const StackedSide side = sideOf(narrow);
    EXPECT_EQ(side.firstIdentical, (Rows{0, 1, 0, 3, 1, 0, 1, 7}));
    EXPECT_EQ(side.nextIdentical, (Rows{2, 4, 5, noRow, 6, noRow, noRow, noRow}));
    EXPECT_EQ(side.distinct, (Rows{0, 1, 3, 7}));
}

TEST(StackSide, ComparesBits) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const NarrowSide narrow(
        {0.0F, -0.0F, 1.0F, 1.0F + std::numeric_limits<float>::epsilon(), nan, nan});
    EXPECT_EQ(sideOf(narrow).distinct, (Rows{0, 1, 2, 3, 4}));
}

TEST(StackSide, FindsAllIdenticalRowsOfLargeLibrariesWithAnyNumberOfWorkers) {
    for (const LibraryKind kind : {LibraryKind::oneCommon, LibraryKind::lattice,
                                   LibraryKind::nearTwins, LibraryKind::notFinite}) {
        const RandomLibrary library = makeRandomLibrary(kind, kind, 3000, 4);
        for (const std::size_t workers : {1U, 2U, 7U}) {
            SCOPED_TRACE(nameOf(kind) + ", " + std::to_string(workers) + " workers");
            const StackedSide side = sideOf(library.queryText, library.textMatrix, workers);
            std::map<std::string, Rows> identical;
            for (Row row = 0; row <= 3000; ++row) {
                identical[{reinterpret_cast<const char*>(vectorOf(side, row)),
                           textWidth * sizeof(float)}]
                    .push_back(row);
            }
            Rows distinct;
            for (const auto& [bytes, rows] : identical) {
                distinct.push_back(rows.front());
                for (std::size_t i = 0; i < rows.size(); ++i) {
                    EXPECT_EQ(side.firstIdentical[rows[i]], rows.front());
                    EXPECT_EQ(side.nextIdentical[rows[i]],
                              i + 1 < rows.size() ? rows[i + 1] : noRow);
                }
            }
            std::sort(distinct.begin(), distinct.end());
            EXPECT_EQ(side.distinct, distinct);
            EXPECT_LT(distinct.size(), 2900U);
        }
    }
}

TEST(CountIdentical, CountsTheRowItselfAndStopsAtTheLimit) {
    const NarrowSide narrow({2.0F, 1.0F, 2.0F, 3.0F, 1.0F, 2.0F, 1.0F, 4.0F});
    const StackedSide side = sideOf(narrow);
    for (const Row row : {0U, 2U, 5U}) {
        EXPECT_EQ(countIdentical(side, row, 10), 3U) << row;
        EXPECT_EQ(countIdentical(side, row, 3), 3U) << row;
        EXPECT_EQ(countIdentical(side, row, 2), 2U) << row;
    }
    EXPECT_EQ(countIdentical(side, 3, 10), 1U);
}

}  // namespace
}  // namespace quillon::test
