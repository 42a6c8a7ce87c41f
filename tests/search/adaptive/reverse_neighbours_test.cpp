// Bounds are never too low; and of the rows that may list an element none is missing, and few are
// too many.
#include "search/adaptive/reverse_neighbours.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "search/adaptive/listed_rows.h"
#include "support/plain_neighbours.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

/// The distance to the sixth-nearest row.
float sixthOf(const StackedSide& side, Row row) {
    const std::vector<Near> near = nearestByScan(side, row);
    return near.size() < 6 ? unreached : near[5].first;
}

/// The same, where of other identical rows the first one counts.
float sixthOfDistinct(const StackedSide& side, Row row) {
    std::vector<float> distances;
    for (const auto& [distance, other] : nearestByScan(side, row)) {
        if (side.firstIdentical[other] == other || side.firstIdentical[other] == row) {
            distances.push_back(distance);
        }
    }
    return distances.size() < 6 ? unreached : distances[5];
}

TEST(NeighbourBounds, AreAtLeastTheDistanceToTheSixthNearestRow) {
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount : {1U, 2U, 6U, 20U, 63U, 64U, 65U, 128U, 300U, 1000U}) {
            SCOPED_TRACE(nameOf(kind) + ", " + std::to_string(rowCount) + " rows");
            const RandomLibrary library = makeRandomLibrary(kind, kind, rowCount - 1, rowCount);
            StackedSide side = sideOf(library.queryText, library.textMatrix);
            const std::vector<float> bounds = neighbourBounds(side);
            ASSERT_EQ(bounds.size(), rowCount);
            for (Row row = 0; row < rowCount; ++row) {
                if (side.firstIdentical[row] != row) {
                    EXPECT_EQ(bounds[row], unreached) << row;
                    continue;
                }
                EXPECT_GE(bounds[row], sixthOf(side, row)) << row;
                if (side.distinct.size() < 64) {
                    EXPECT_EQ(bounds[row], sixthOfDistinct(side, row)) << row;
                }
            }
            for (const std::size_t workers : {2U, 7U}) {
                side.workers = workers;
                EXPECT_EQ(neighbourBounds(side), bounds) << workers << " workers";
            }
        }
    }
}

TEST(NeighbourBounds, CountIdenticalRows) {
    // Six rows of 0, five of 10, one of 11 and one of 20.
    const NarrowSide narrow({0, 0, 10, 0, 10, 0, 10, 0, 10, 0, 10, 11, 20});
    const std::vector<float> bounds = neighbourBounds(sideOf(narrow));
    EXPECT_EQ(bounds[0], 0.0F);
    EXPECT_EQ(bounds[2], 1.0F);
    // Of other rows that are identical the first one counts.
    EXPECT_EQ(bounds[11], unreached);
}

// Five rows near each other and far from all others do not bound each other's sixth-nearest.
TEST(NeighbourBounds, CountNoRowTwice) {
    std::vector<float> values(320);
    for (std::size_t row = 0; row < values.size(); ++row) {
        values[row] = (row % 64 == 0 ? 100.0F : 0.0F) + 0.001F * static_cast<float>(row);
    }
    const NarrowSide narrow(values);
    const std::vector<float> bounds = neighbourBounds(sideOf(narrow));
    for (std::size_t row = 0; row < values.size(); row += 64) {
        EXPECT_GT(bounds[row], 9000.0F) << row;
    }
}

// Rows of one cluster are at squared distances about 1 or less, others at about 2.
TEST(NeighbourBounds, AreNearInClusters) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 1000, 1);
    const StackedSide side = sideOf(library.queryShape, library.shapeMatrix, 2);
    const std::vector<float> bounds = neighbourBounds(side);
    const auto near = std::count_if(side.distinct.begin(), side.distinct.end(),
                                    [&](Row row) { return bounds[row] < 1.4F; });
    EXPECT_GT(static_cast<std::size_t>(near), side.distinct.size() * 8 / 10);
}

TEST(NeighbourBounds, AreUnreachedForRowsThatAreNotFinite) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::notFinite, LibraryKind::notFinite, 300, 1);
    const StackedSide side = sideOf(library.queryShape, library.shapeMatrix);
    const std::vector<float> bounds = neighbourBounds(side);
    std::size_t unreachedRows = 0;
    for (const Row row : side.distinct) {
        const float* vector = vectorOf(side, row);
        const bool isUsual = std::all_of(vector, vector + side.width,
                                         [](float value) { return std::abs(value) < 2.0F; });
        EXPECT_EQ(bounds[row] < unreached, isUsual) << row;
        unreachedRows += isUsual ? 0 : 1;
    }
    EXPECT_GT(unreachedRows, 10U);
}

bool contains(std::span<const Row> rows, Row row) {
    return std::find(rows.begin(), rows.end(), row) != rows.end();
}

/// The candidates in a form that can be compared.
using Candidates = std::vector<std::pair<Row, Rows>>;

Candidates candidatesOf(const StackedSide& side, const std::vector<float>& bounds,
                        const Rows& elements) {
    Candidates candidates;
    for (const ReverseNeighbour& neighbour : reverseNeighbourCandidates(side, bounds, elements)) {
        candidates.emplace_back(neighbour.row, neighbour.elements);
    }
    return candidates;
}

struct Found {
    std::size_t candidates = 0;
    std::size_t listing = 0;  // rows that do list an element
};

/// Elements with `noRow` among them ask for gaps, too.
Found expectNoneMissing(const FeatureMatrix& query, const FeatureMatrix& library,
                        const Rows& elements) {
    StackedSide side = sideOf(query, library, 2);
    const std::vector<float> bounds = neighbourBounds(side);
    const Candidates candidates = candidatesOf(side, bounds, elements);
    for (const std::size_t workers : {1U, 7U}) {
        side.workers = workers;
        EXPECT_EQ(candidatesOf(side, bounds, elements), candidates) << workers << " workers";
    }
    EXPECT_TRUE(std::is_sorted(candidates.begin(), candidates.end()));
    for (const auto& [row, listed] : candidates) {
        EXPECT_EQ(side.firstIdentical[row], row);
        EXPECT_FALSE(listed.empty()) << row;
        EXPECT_TRUE(std::is_sorted(listed.begin(), listed.end()));
        EXPECT_TRUE(std::includes(elements.begin(), elements.end(), listed.begin(), listed.end()));
    }

    ListMemo memo = emptyMemo(side, side);
    const std::vector<NeighbourList> lists = neighbourLists(memo[0], side.distinct);
    Found found{candidates.size(), 0};
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const Row row = side.distinct[i];
        const auto candidate =
            std::find_if(candidates.begin(), candidates.end(),
                         [&](const auto& possible) { return possible.first == row; });
        bool listsAny = false;
        for (const Row element : lists[i].rows()) {
            if (contains(elements, element)) {
                listsAny = true;
                EXPECT_TRUE(candidate != candidates.end() && contains(candidate->second, element))
                    << "row " << row << ", element " << element;
            }
        }
        found.listing += listsAny ? 1 : 0;
    }
    return found;
}

Rows someElements(std::uint32_t rowCount) {
    Rows elements;
    for (std::uint32_t i = 0; i < 12; ++i) {
        elements.push_back((i * i * 7 + rowCount) % rowCount);
    }
    std::sort(elements.begin(), elements.end());
    elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
    return elements;
}

TEST(ReverseNeighbourCandidates, MissNoRowThatListsAnElement) {
    std::size_t listing = 0;
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount :
             {2U, 5U, 6U, 7U, 33U, 41U, 129U, 257U, 258U, 601U, 1101U}) {
            SCOPED_TRACE(nameOf(kind) + ", " + std::to_string(rowCount) + " rows");
            const RandomLibrary library = makeRandomLibrary(kind, kind, rowCount - 1, rowCount);
            Rows elements = someElements(rowCount);
            listing += expectNoneMissing(library.queryText, library.textMatrix, elements).listing;
            elements.push_back(noRow);
            listing += expectNoneMissing(library.queryText, library.textMatrix, elements).listing;
        }
    }
    EXPECT_GT(listing, 1000U);
}

// Elements and rows both among identical ones.
TEST(ReverseNeighbourCandidates, MissNoneAmongIdenticalRows) {
    std::size_t listing = 0;
    for (std::uint32_t seed = 0; seed < 8; ++seed) {
        RandomLibrary library =
            makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 900, seed);
        for (std::uint32_t row = 0; row < 900; ++row) {
            std::copy_n(library.textMatrix.data() + (row % (150 + seed * 40)) * textWidth,
                        textWidth, library.textMatrix.data() + row * textWidth);
        }
        listing += expectNoneMissing(library.queryText, library.textMatrix, {1, 2, 3, 5, 300, 640})
                       .listing;
    }
    EXPECT_GT(listing, 20U);
}

TEST(ReverseNeighbourCandidates, FindGapsWithoutOtherElements) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::notFinite, LibraryKind::notFinite, 500, 3);
    const Found found = expectNoneMissing(library.queryText, library.textMatrix, {noRow});
    EXPECT_GT(found.listing, 20U);
    EXPECT_EQ(found.candidates, found.listing);
}

TEST(ReverseNeighbourCandidates, AreNoneForNoElements) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::notFinite, LibraryKind::notFinite, 500, 3);
    EXPECT_EQ(expectNoneMissing(library.queryText, library.textMatrix, {}).candidates, 0U);
}

// Rows on a line one apart, numbered at random: each lists the two or three on either side of it.
TEST(ReverseNeighbourCandidates, KeepRowsAtTheirBound) {
    std::vector<float> values(1000);
    for (std::size_t row = 0; row < values.size(); ++row) {
        values[row] = static_cast<float>(row * 377 % 1000);
    }
    const NarrowSide narrow(values);
    for (const Row element : {0U, 1U, 500U, 999U}) {
        const Found found = expectNoneMissing(narrow.query, narrow.library, {element});
        EXPECT_GE(found.listing, 3U);
        EXPECT_LE(found.candidates, 7U);
    }
}

TEST(ReverseNeighbourCandidates, AreFewRowsMoreThanThoseThatListAnElement) {
    for (const LibraryKind kind : {LibraryKind::clustered, LibraryKind::uniform}) {
        const RandomLibrary library = makeRandomLibrary(kind, kind, 4000, 1);
        const Found found = expectNoneMissing(library.queryText, library.textMatrix, {5});
        EXPECT_GT(found.listing, 0U);
        EXPECT_LE(found.candidates, found.listing + 40) << nameOf(kind);
    }
}

}  // namespace
}  // namespace quillon::test
