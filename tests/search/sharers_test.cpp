// Who shares list elements with a few rows, and how similar they can be at most.
#include "search/sharers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>
#include <vector>

#include "search/neighbours/crowds.h"
#include "search/rank_similarity.h"
#include "support/listed_rows.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

using Rows = std::vector<Row>;
using Pairs = std::vector<std::pair<Row, Row>>;

Reaches reachesOf(const WeightedSides& weighted) {
    return {reachesOfNeighbourhoods(weighted.sides[0].lists.side),
            reachesOfNeighbourhoods(weighted.sides[1].lists.side)};
}

TEST(ForEachSharer, VisitsEachPairOnceInTheOrderOfTheColumns) {
    // Row 1 shares with row 0 on both sides, row 2 on the text side, row 3 not at all.
    WeightedSides weighted = weightedOf(listsOf({{1, 2}, {2, 1}, {3, 4}, {5, 6}}),
                                        listsOf({{1, 2}, {1, 3}, {7, 2}, {8, 9}}));
    const Sharers sharers = findSharers(weighted, {}, Rows{3, 0}, SharersLists::possible);
    Pairs pairs;
    forEachSharer(weighted, sharers, Rows{3, 0},
                  [&](Row row, Row column) { pairs.emplace_back(row, column); });
    std::sort(pairs.begin() + 1, pairs.end());
    EXPECT_EQ(pairs, (Pairs{{3, 3}, {0, 0}, {1, 0}, {2, 0}}));
}

/// All pairs of a row and a column that share an element, by the lists of all rows.
std::set<std::pair<Row, Row>> sharingPairs(const WeightedSides& all, const Rows& columns) {
    std::set<std::pair<Row, Row>> pairs;
    for (const Row column : columns) {
        for (Row row = 0; row < static_cast<Row>(all.rowCount()); ++row) {
            for (const WeightedSide& side : all.sides) {
                if (rankSimilarity(side.lists, row, column) > 0.0F) {
                    pairs.emplace(row, column);
                }
            }
        }
    }
    return pairs;
}

TEST(FindSharers, MissesNoneAndBoundsTheirSimilarity) {
    std::size_t bounded = 0;
    for (const LibraryKind kind : allLibraryKinds) {
        const RandomLibrary library = makeRandomLibrary(kind, LibraryKind::clustered, 500, 3);
        const auto fusedNothing = [&] {
            return nothingWeighed(stackRows(library.queryShape, library.shapeMatrix),
                                  stackRows(library.queryText, library.textMatrix));
        };
        Rows rows(501);
        std::iota(rows.begin(), rows.end(), 0);
        WeightedSides all = fusedNothing();
        fuseSimilarities(all, rows, 0.4F);

        Rows columns{0, 17, 230, 231, 499};
        // One more with gaps in its list, where there are such.
        const auto hasGap = [&](Row row) {
            return listOf(all.sides[0].lists, row).back() == noRow;
        };
        const auto gap = std::find_if(rows.begin() + 300, rows.end(), hasGap);
        if (gap != rows.end()) {
            columns.push_back(*gap);
        }
        WeightedSides some = fusedNothing();
        const Sharers sharers = findSharers(some, reachesOf(some), columns, SharersLists::possible);
        std::set<std::pair<Row, Row>> visited;
        forEachSharer(some, sharers, columns, [&](Row row, Row column) {
            EXPECT_TRUE(visited.emplace(row, column).second);
            if (row != 0) {
                const float exact = fusedSimilarity(all, row, column);
                EXPECT_FALSE(exact > mostFusedSimilarity(some, sharers, row, column))
                    << nameOf(kind) << ", row " << row << ", column " << column;
                ++bounded;
            }
        });
        for (const auto& pair : sharingPairs(all, columns)) {
            EXPECT_TRUE(visited.count(pair) == 1 || pair.first == pair.second)
                << nameOf(kind) << ", row " << pair.first << ", column " << pair.second;
        }
    }
    EXPECT_GT(bounded, 500U);
}

TEST(FindSharers, ListsAllSharersWhenAskedTo) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 500, 3);
    WeightedSides weighted = nothingWeighed(stackRows(library.queryShape, library.shapeMatrix),
                                            stackRows(library.queryText, library.textMatrix));
    const Sharers sharers =
        findSharers(weighted, reachesOf(weighted), Rows{9}, SharersLists::exact);
    for (std::size_t s = 0; s < sharers.size(); ++s) {
        EXPECT_TRUE(sharers[s].possible.empty());
        EXPECT_FALSE(sharers[s].listedBy.empty());
        for (const auto& [element, row] : sharers[s].listedBy) {
            EXPECT_TRUE(isListed(weighted.sides[s].lists, row));
        }
    }
}

TEST(MostFusedSimilarity, CountsNothingOfAFlatCurve) {
    WeightedSides weighted = weightedOf(listsOf({{1, 2}, {1, 2}}, {1.0F, 0.0F}),
                                        listsOf({{1, 2}, {2, 1}}, {1.0F, 1.0F}));
    const Sharers sharers = findSharers(weighted, {}, Rows{0}, SharersLists::possible);
    EXPECT_NEAR(mostFusedSimilarity(weighted, sharers, 1, 0), 0.6F, 1e-5F);
    weighted.sides[0].lists.curveAreas[1] = 1.0F;
    EXPECT_NEAR(mostFusedSimilarity(weighted, sharers, 1, 0), 1.0F, 1e-5F);
}

}  // namespace
}  // namespace quillon::test
