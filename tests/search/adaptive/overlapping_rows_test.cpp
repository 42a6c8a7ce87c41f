// The rows with an overlapping neighbour list.
#include "search/adaptive/overlapping_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "search/adaptive/reverse_neighbours.h"
#include "support/listed_rows.h"
#include "support/plain_neighbours.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

ListMemo memoOf(const RandomLibrary& library) {
    return emptyMemo(sideOf(library.queryShape, library.shapeMatrix, 2),
                     sideOf(library.queryText, library.textMatrix, 2));
}

OverlappingRows overlappingRowsOf(ListMemo& memo, const std::vector<ListedRow>& listed) {
    return overlappingRows(memo, {neighbourBounds(memo[0].rows), neighbourBounds(memo[1].rows)},
                           listed);
}

std::set<Row> setOf(const Rows& rows) {
    return {rows.begin(), rows.end()};
}

/// `all` are the rows with their lists. Returns how many overlap.
std::size_t expectNoneMissing(const ListMemo& memo, const OverlappingRows& overlapping,
                              const std::vector<ListedRow>& listed,
                              const std::vector<ListedRow>& all) {
    std::set<Row> ofOverlaps;
    std::size_t sharing = 0;
    for (std::size_t s = 0; s < 2; ++s) {
        std::set<Row> elements;
        for (const ListedRow& row : listed) {
            const Rows labels = labelsOf(row.lists[s]);
            elements.insert(labels.begin(), labels.end());
        }
        for (const auto& [first, overlap] : overlapping.overlaps[s]) {
            EXPECT_EQ(memo[s].rows.firstIdentical[first], first);
            for (Row row = first; row != noRow; row = memo[s].rows.nextIdentical[row]) {
                ofOverlaps.insert(row);
            }
            EXPECT_TRUE(std::is_sorted(overlap.elements.begin(), overlap.elements.end()));
            const bool hasIdentical = memo[s].rows.nextIdentical[first] != noRow;
            EXPECT_EQ(overlap.isFlat, hasIdentical && all[first].lists[s].curveArea == 0.0F)
                << "row " << first << ", side " << s;
        }
        for (const Row row : memo[s].rows.distinct) {
            const auto overlap = overlapping.overlaps[s].find(row);
            for (const Row element : setOf(labelsOf(all[row].lists[s]))) {
                if (elements.count(element) == 1) {
                    EXPECT_TRUE(overlap != overlapping.overlaps[s].end() &&
                                std::binary_search(overlap->second.elements.begin(),
                                                   overlap->second.elements.end(), element))
                        << "row " << row << ", side " << s << ", element " << element;
                    ++sharing;
                }
            }
        }
    }
    EXPECT_EQ(overlapping.rows, Rows(ofOverlaps.begin(), ofOverlaps.end()));
    return sharing;
}

TEST(OverlappingRows, MissNone) {
    std::size_t sharing = 0;
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount : {1U, 3U, 7U, 33U, 80U, 500U}) {
            SCOPED_TRACE(nameOf(kind) + ", " + std::to_string(rowCount) + " rows");
            const RandomLibrary library =
                makeRandomLibrary(kind, LibraryKind::clustered, rowCount - 1, 3);
            Rows rows(rowCount);
            std::iota(rows.begin(), rows.end(), 0);
            ListMemo full = memoOf(library);
            const std::vector<ListedRow> all = listedRows(full, rows);
            for (const Rows& asked : {Rows{0}, Rows{rowCount - 1, rowCount / 2, 0}, Rows{}}) {
                std::vector<ListedRow> listed;
                for (const Row row : asked) {
                    listed.push_back(all[row]);
                }
                ListMemo memo = memoOf(library);
                const OverlappingRows overlapping = overlappingRowsOf(memo, listed);
                sharing += expectNoneMissing(memo, overlapping, listed, all);
            }
        }
    }
    EXPECT_GT(sharing, 1000U);
}

TEST(OverlappingRows, AreNoneOfNoLists) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::oneCommon, LibraryKind::clustered, 60, 3);
    ListMemo memo = memoOf(library);
    EXPECT_TRUE(overlappingRowsOf(memo, {}).rows.empty());
    EXPECT_TRUE(memo[0].lists.empty());
}

// Nearly all lists stay unmade.
TEST(OverlappingRows, AreFew) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::uniform, LibraryKind::clustered, 2000, 3);
    ListMemo memo = memoOf(library);
    const OverlappingRows overlapping = overlappingRowsOf(memo, listedRows(memo, Rows{7}));
    EXPECT_LT(overlapping.rows.size(), 500U);
    EXPECT_LT(memo[0].lists.size(), 100U);
    EXPECT_LT(memo[1].lists.size(), 100U);
}

}  // namespace
}  // namespace quillon::test
