// The rows that may list an element: none may be missing, and few may be too many.
#include "search/neighbours/possible_lists.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "search/neighbours/crowds.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

using Rows = std::vector<Row>;

bool contains(std::span<const Row> rows, Row row) {
    return std::find(rows.begin(), rows.end(), row) != rows.end();
}

struct Found {
    std::size_t possible = 0;
    std::size_t listing = 0;  // rows that do list an element
};

Found expectNoneMissing(const RandomLibrary& library, const Rows& elements,
                        const std::string& label) {
    NeighbourLists lists = nothingListed(stackRows(library.queryShape, library.shapeMatrix));
    const std::vector<PossibleList> possible =
        possibleLists(lists, reachesOfNeighbourhoods(lists.side), elements);
    EXPECT_TRUE(
        std::is_sorted(possible.begin(), possible.end(),
                       [](const PossibleList& a, const PossibleList& b) { return a.row < b.row; }));

    NeighbourLists exact = nothingListed(stackRows(library.queryShape, library.shapeMatrix));
    buildNeighbourLists(exact, exact.side.distinct);
    Found found{possible.size(), 0};
    for (const Row row : exact.side.distinct) {
        const auto list = std::find_if(possible.begin(), possible.end(),
                                       [&](const PossibleList& p) { return p.row == row; });
        for (const Row element : listOf(exact, row)) {
            if (isListed(lists, row)) {
                continue;
            }
            if (element == noRow) {
                EXPECT_TRUE(list != possible.end() && list->mayHaveGaps) << label << ' ' << row;
            } else if (contains(elements, element)) {
                ++found.listing;
                EXPECT_TRUE(list != possible.end() && contains(list->elements, element))
                    << label << ", row " << row << ", element " << element;
            }
        }
    }
    return found;
}

TEST(PossibleLists, MissNoRowThatListsAnElement) {
    std::size_t listing = 0;
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount : {3U, 7U, 40U, 256U, 257U, 600U, 1100U}) {
            const RandomLibrary library = makeRandomLibrary(kind, kind, rowCount, rowCount);
            Rows elements;
            for (std::uint32_t i = 0; i < 12; ++i) {
                elements.push_back(static_cast<Row>((i * i * 7 + rowCount) % (rowCount + 1)));
            }
            std::sort(elements.begin(), elements.end());
            elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
            listing += expectNoneMissing(library, elements,
                                         nameOf(kind) + ", " + std::to_string(rowCount) + " rows")
                           .listing;
        }
    }
    EXPECT_GT(listing, 1000U);
}

// Elements, rows and crowds all among copies.
TEST(PossibleLists, MissNoneAmongCopies) {
    std::size_t listing = 0;
    for (std::uint32_t seed = 0; seed < 8; ++seed) {
        RandomLibrary library =
            makeRandomLibrary(LibraryKind::uniform, LibraryKind::uniform, 900, seed);
        for (std::uint32_t row = 0; row < 900; ++row) {
            std::copy_n(library.shapeMatrix.data() + (row % (150 + seed * 40)) * shapeWidth,
                        shapeWidth, library.shapeMatrix.data() + row * shapeWidth);
        }
        listing += expectNoneMissing(library, {1, 2, 3, 5, 300, 640}, "copies").listing;
    }
    EXPECT_GT(listing, 20U);
}

TEST(PossibleLists, RuleOutNearlyAllRows) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 2000, 1);
    const Found found = expectNoneMissing(library, {5}, "clustered");
    EXPECT_LT(found.possible, 200U);
}

TEST(PossibleLists, AreNoneWhereAllAreListed) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 50, 1);
    NeighbourLists lists = nothingListed(stackRows(library.queryShape, library.shapeMatrix));
    buildNeighbourLists(lists, lists.side.distinct);
    EXPECT_TRUE(possibleLists(lists, {}, Rows{1, 2}).empty());
}

}  // namespace
}  // namespace quillon::test
