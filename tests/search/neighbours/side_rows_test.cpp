// The stacked rows of one side, their copies and their one distance.
#include "search/neighbours/side_rows.h"

#include <faiss/IndexFlat.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "support/random_library.h"

namespace quillon::test {
namespace {

using Rows = std::vector<Row>;

/// Row r + 1 holds the first element `values[r]`, row 0 the query's `query`.
struct Narrow {
    Narrow(float queryValue, const std::vector<float>& values)
        : query(FeatureMatrix::from_shape({1, 3})),
          library(FeatureMatrix::from_shape({values.size(), 3})) {
        query.fill(0.0F);
        library.fill(0.0F);
        query(0, 0) = queryValue;
        for (std::size_t row = 0; row < values.size(); ++row) {
            library(row, 0) = values[row];
        }
    }

    FeatureMatrix query;
    FeatureMatrix library;
};

TEST(StackRows, PutsTheQueryInFront) {
    const Narrow narrow(5.0F, {1.0F, 2.0F});
    const SideRows side = stackRows(narrow.query, narrow.library);
    EXPECT_EQ(side.count, 3U);
    EXPECT_EQ(side.width, 3U);
    EXPECT_EQ(vectorOf(side, 0)[0], 5.0F);
    EXPECT_EQ(vectorOf(side, 1)[0], 1.0F);
    EXPECT_EQ(vectorOf(side, 2)[0], 2.0F);
    EXPECT_EQ(side.squaredLengths, (std::vector<float>{25.0F, 1.0F, 4.0F}));
}

TEST(StackRows, FindsTheCopiesOfEachRow) {
    const Narrow narrow(2.0F, {1.0F, 2.0F, 3.0F, 1.0F, 2.0F, 1.0F, 4.0F});
    const SideRows side = stackRows(narrow.query, narrow.library);
    EXPECT_EQ(side.firstCopy, (Rows{0, 1, 0, 3, 1, 0, 1, 7}));
    EXPECT_EQ(side.nextCopy, (Rows{2, 4, 5, noRow, 6, noRow, noRow, noRow}));
    EXPECT_EQ(side.distinct, (Rows{0, 1, 3, 7}));
    EXPECT_EQ(countCopies(side, 5, 10), 3U);
    EXPECT_EQ(countCopies(side, 5, 2), 2U);
    EXPECT_EQ(countCopies(side, 3, 10), 1U);
}

TEST(StackRows, TellsRowsApartThatDifferInOneBit) {
    const Narrow narrow(0.0F, {-0.0F, 1.0F, 1.0F + std::numeric_limits<float>::epsilon()});
    EXPECT_EQ(stackRows(narrow.query, narrow.library).distinct, (Rows{0, 1, 2, 3}));
}

// One distance for the whole tool: what Adaptive compares is what ByShape reports.
TEST(SquaredDistance, IsWhatTheIndexGivesToOneQuery) {
    for (const LibraryKind kind : {LibraryKind::uniform, LibraryKind::nearTwins,
                                   LibraryKind::lengths, LibraryKind::notFinite}) {
        const RandomLibrary library = makeRandomLibrary(kind, kind, 60, 3);
        const SideRows side = stackRows(library.queryShape, library.shapeMatrix);
        faiss::IndexFlatL2 index(static_cast<faiss::Index::idx_t>(shapeWidth));
        index.add(60, library.shapeMatrix.data());
        std::vector<float> distances(60);
        std::vector<faiss::Index::idx_t> labels(60);
        index.search(1, library.queryShape.data(), 60, distances.data(), labels.data());
        for (std::size_t i = 0; i < labels.size() && labels[i] >= 0; ++i) {
            const auto row = static_cast<Row>(labels[i] + 1);
            EXPECT_EQ(squaredDistance(side, 0, row), distances[i]) << nameOf(kind);
            EXPECT_EQ(squaredDistance(side, row, 0), distances[i]) << nameOf(kind);
        }
    }
}

TEST(SquaredDistance, IsZeroForCopies) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::oneCommon, LibraryKind::oneCommon, 60, 4);
    const SideRows side = stackRows(library.queryText, library.textMatrix);
    std::size_t copies = 0;
    for (Row row = 0; row <= 60; ++row) {
        EXPECT_EQ(squaredDistance(side, row, side.firstCopy[row]), 0.0F);
        copies += side.firstCopy[row] != row ? 1 : 0;
    }
    EXPECT_GT(copies, 10U);
}

}  // namespace
}  // namespace quillon::test
