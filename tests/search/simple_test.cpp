// Simple against a plain form made of double loops, and its intended oddities by hand.
#include "search/simple.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/random_library.h"

namespace quillon::test {
namespace {

std::vector<SearchResult> search(const RandomLibrary& library, std::uint32_t k,
                                 float minThreshold) {
    std::vector<SearchResult> hits;
    searchSimple(k, library.queryShape, library.queryText, library.shapeMatrix, library.textMatrix,
                 minThreshold, hits);
    return hits;
}

float squaredDistance(const FeatureMatrix& query, const FeatureMatrix& matrix, std::size_t row) {
    float sum = 0.0F;  // exact: the values are small multiples of a half
    for (std::size_t c = 0; c < matrix.shape(1); ++c) {
        const float difference = query(0, c) - matrix(row, c);
        sum += difference * difference;
    }
    return sum;
}

bool isTwin(const RandomLibrary& library, std::size_t row) {
    return squaredDistance(library.queryShape, library.shapeMatrix, row) == 0.0F;
}

/// Rows with their distances, nearest first, equal ones in the given order.
using Ranked = std::vector<std::pair<float, std::size_t>>;

Ranked nearest(Ranked rows, std::size_t count) {
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    rows.resize(std::min(rows.size(), count));
    return rows;
}

std::vector<std::pair<std::int64_t, float>> expectedHits(const RandomLibrary& library,
                                                         std::size_t k, float minThreshold) {
    const std::size_t rowCount = library.shapeMatrix.shape(0);
    Ranked byShape;
    for (std::size_t row = 0; row < rowCount; ++row) {
        byShape.emplace_back(squaredDistance(library.queryShape, library.shapeMatrix, row), row);
    }
    Ranked candidates;
    for (const auto& candidate : nearest(byShape, 5 * k)) {
        if (1.0F - minThreshold > candidate.first && !isTwin(library, candidate.second)) {
            candidates.push_back(candidate);
        }
    }
    Ranked byText;
    for (std::size_t position = 0; position < candidates.size(); ++position) {
        byText.emplace_back(
            squaredDistance(library.queryText, library.textMatrix, candidates[position].second),
            position);
    }
    std::vector<std::pair<std::int64_t, float>> hits;
    for (const auto& [textDistance, position] : nearest(byText, k)) {
        if (textDistance < 1.0F && !isTwin(library, position)) {
            hits.emplace_back(candidates[position].second, candidates[position].first);
        }
    }
    return hits;
}

TEST(SearchSimple, EqualsThePlainFormOnExactDistances) {
    std::size_t found = 0;
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        const std::uint32_t rowCount = 1 + seed % 150;
        const RandomLibrary library =
            makeRandomLibrary(LibraryKind::lattice, LibraryKind::lattice, rowCount, seed);
        const std::uint32_t k = 1 + seed % std::min(rowCount, 40U);
        const float minThreshold = static_cast<float>(seed % 5) * 0.25F - 0.5F;
        std::vector<std::pair<std::int64_t, float>> hits;
        for (const SearchResult& hit : search(library, k, minThreshold)) {
            hits.emplace_back(hit.index, hit.distOrScore);
            EXPECT_EQ(hit.shapeWeight, 0.0F);
            EXPECT_EQ(hit.textWeight, 0.0F);
        }
        EXPECT_EQ(hits, expectedHits(library, k, minThreshold)) << "seed " << seed;
        found += hits.size();
    }
    EXPECT_GT(found, 500U);
}

/// Three rows at the shape distances 0.04, 0.01 and 0.09, the first and third of the query's text.
RandomLibrary threeRows() {
    RandomLibrary library = makeRandomLibrary(LibraryKind::allTwins, LibraryKind::allTwins, 3, 1);
    library.shapeMatrix(0, 1) = 0.2F;
    library.shapeMatrix(1, 1) = 0.1F;
    library.shapeMatrix(2, 1) = 0.3F;
    library.textMatrix(1, 1) = 0.5F;
    return library;
}

std::vector<std::int64_t> indexesOf(const std::vector<SearchResult>& hits) {
    std::vector<std::int64_t> indexes;
    for (const SearchResult& hit : hits) {
        indexes.push_back(hit.index);
    }
    return indexes;
}

TEST(SearchSimple, OrdersByTextAndReportsTheShapeDistance) {
    const std::vector<SearchResult> hits = search(threeRows(), 3, 0.0F);
    EXPECT_EQ(indexesOf(hits), (std::vector<std::int64_t>{0, 2, 1}));
    EXPECT_FLOAT_EQ(hits[0].distOrScore, 0.04F);
    EXPECT_FLOAT_EQ(hits[1].distOrScore, 0.09F);
    EXPECT_FLOAT_EQ(hits[2].distOrScore, 0.01F);
}

TEST(SearchSimple, DropsTheCandidateWhosePositionIsATwinsRow) {
    RandomLibrary library = threeRows();
    library.shapeMatrix(0, 1) = 0.0F;  // library row 0 is the query's twin now
    // Row 1 is the nearest candidate, at position 0, and goes; row 2 at position 1 stays.
    EXPECT_EQ(indexesOf(search(library, 3, 0.0F)), (std::vector<std::int64_t>{2}));
}

TEST(SearchSimple, TheTextLimitIsOneWhateverTheThreshold) {
    RandomLibrary library = threeRows();
    library.textMatrix(2, 1) = 1.0F;
    EXPECT_EQ(indexesOf(search(library, 3, 0.0F)), (std::vector<std::int64_t>{0, 1}));
    EXPECT_EQ(indexesOf(search(library, 3, -9.0F)), (std::vector<std::int64_t>{0, 1}));
    EXPECT_EQ(indexesOf(search(library, 3, 0.95F)), (std::vector<std::int64_t>{0, 1}));
}

TEST(SearchSimple, NoShapeCandidateMeansNoHits) {
    EXPECT_TRUE(search(threeRows(), 3, 1.0F).empty());
}

std::string failureOf(const RandomLibrary& library, std::uint32_t k) {
    try {
        search(library, k, 0.0F);
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return "no exception";
}

TEST(SearchSimple, RefusesAQueryNarrowerThanTheLibrary) {
    RandomLibrary library = threeRows();
    library.queryText = FeatureMatrix::from_shape({1, 0});
    EXPECT_EQ(failureOf(library, 1),
              "the query's text vector has 0 elements, the library's rows have 384");
    library.queryShape = FeatureMatrix::from_shape({1, 511});
    EXPECT_EQ(failureOf(library, 1),
              "the query's shape vector has 511 elements, the library's rows have 512");
}

/// The first columns of `query`, and ones behind them.
FeatureMatrix widened(const FeatureMatrix& query, std::size_t width) {
    FeatureMatrix wide = FeatureMatrix::from_shape({1, width});
    wide.fill(1.0F);
    std::copy(query.begin(), query.end(), wide.begin());
    return wide;
}

TEST(SearchSimple, ReadsTheFirstColumnsOfAWiderQuery) {
    const std::vector<std::int64_t> expected = indexesOf(search(threeRows(), 3, 0.0F));
    ASSERT_EQ(expected.size(), 3U);
    for (const std::size_t more : {1U, 100U}) {
        RandomLibrary library = threeRows();
        library.queryShape = widened(library.queryShape, shapeWidth + more);
        EXPECT_EQ(indexesOf(search(library, 3, 0.0F)), expected);
        library = threeRows();
        library.queryText = widened(library.queryText, textWidth + more);
        EXPECT_EQ(indexesOf(search(library, 3, 0.0F)), expected);
    }
}

TEST(SearchSimple, FailsWhenNoHitsAreAskedFor) {
    EXPECT_NE(failureOf(threeRows(), 0).find("Error: 'k > 0' failed"), std::string::npos);
}

}  // namespace
}  // namespace quillon::test
