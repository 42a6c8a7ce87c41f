// Adaptive on libraries small enough to be worked out by hand.
#include "search/adaptive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/random_library.h"

namespace quillon::test {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

std::vector<SearchResult> search(const RandomLibrary& library, std::uint32_t k,
                                 float minThreshold) {
    std::vector<SearchResult> hits;
    searchAdaptive(k, library.queryShape, library.queryText, library.shapeMatrix,
                   library.textMatrix, minThreshold, hits);
    return hits;
}

/// No row is the query's twin on either side.
RandomLibrary clustered(std::uint32_t rows) {
    RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, rows, 5);
    library.queryShape(0, 0) += 0.01F;
    library.queryText(0, 0) += 0.01F;
    return library;
}

TEST(SearchAdaptive, ASingleBlockHasTheScoreZeroAndTheLeastWeights) {
    const RandomLibrary library = clustered(1);
    EXPECT_TRUE(search(library, 1, 0.1F).empty());
    const std::vector<SearchResult> hits = search(library, 1, 0.0F);
    ASSERT_EQ(hits.size(), 1U);
    EXPECT_EQ(hits[0].index, 0);
    EXPECT_EQ(hits[0].distOrScore, 0.0F);
    EXPECT_EQ(hits[0].shapeWeight, 0.4F);
    EXPECT_EQ(hits[0].textWeight, 1.0F - 0.4F);
}

TEST(SearchAdaptive, ALibraryWithoutRowsHasNoHits) {
    EXPECT_TRUE(search(clustered(0), 0, -1.0F).empty());
}

TEST(SearchAdaptive, ZeroSetsNoLimitOnTheHits) {
    const RandomLibrary library = clustered(30);
    EXPECT_EQ(search(library, 0, -1.0F).size(), 30U);
    EXPECT_EQ(search(library, 7, -1.0F).size(), 7U);
}

TEST(SearchAdaptive, AScoreEqualToTheThresholdIsReported) {
    const RandomLibrary library = clustered(30);
    const float best = search(library, 3, 0.0F).front().distOrScore;
    EXPECT_GT(best, 0.0F);
    EXPECT_EQ(search(library, 3, best).front().distOrScore, best);
    EXPECT_TRUE(search(library, 3, std::nextafter(best, 2.0F)).empty());
}

TEST(SearchAdaptive, PassesOverTheQuerysShapeTwinsWithoutCountingThem) {
    RandomLibrary library = clustered(30);
    const std::vector<SearchResult> before = search(library, 0, -1.0F);
    std::copy(library.queryShape.begin(), library.queryShape.end(),
              library.shapeMatrix.data() + 4 * shapeWidth);
    const std::vector<SearchResult> hits = search(library, 0, -1.0F);
    EXPECT_EQ(hits.size(), before.size() - 1);
    for (const SearchResult& hit : hits) {
        EXPECT_NE(hit.index, 4);
    }
    EXPECT_EQ(search(library, 10, -1.0F).size(), 10U);
}

TEST(SearchAdaptive, WeightsAddUpToOneAndAreTheSameInEveryHit) {
    const std::vector<SearchResult> hits = search(clustered(40), 40, -1.0F);
    ASSERT_FALSE(hits.empty());
    for (const SearchResult& hit : hits) {
        EXPECT_GE(hit.shapeWeight, 0.4F);
        EXPECT_EQ(hit.textWeight, 1.0F - hit.shapeWeight);
        EXPECT_EQ(hit.shapeWeight, hits[0].shapeWeight);
    }
}

TEST(SearchAdaptive, RefusesAQueryOfAnotherWidth) {
    for (const std::size_t width : {std::size_t{0}, textWidth - 1, textWidth + 1}) {
        RandomLibrary library = clustered(3);
        library.queryText = FeatureMatrix::from_shape({1, width});
        try {
            search(library, 1, 0.0F);
            ADD_FAILURE() << "a query of width " << width << " was accepted";
        } catch (const std::exception& exception) {
            EXPECT_EQ(std::string(exception.what()),
                      "Incompatible dimension of arrays, compile in DEBUG for more info");
        }
    }
}

TEST(AscendingOrder, KeepsEqualValuesInOrder) {
    EXPECT_EQ(ascendingOrder({2.0F, 1.0F, 2.0F, 1.0F, -0.0F, 0.0F}),
              (std::vector<std::size_t>{4, 5, 1, 3, 0, 2}));
    const std::vector<std::size_t> order = ascendingOrder(std::vector<float>(1000, 0.0F));
    for (std::size_t i = 0; i < order.size(); ++i) {
        EXPECT_EQ(order[i], i);
    }
}

TEST(AscendingOrder, NothingMovesPastANan) {
    EXPECT_EQ(ascendingOrder({3.0F, 2.0F, nan, 1.0F, 0.0F, nan, nan, 5.0F, 4.0F}),
              (std::vector<std::size_t>{1, 0, 2, 4, 3, 5, 6, 8, 7}));
}

TEST(RefineByNeighbours, CutsTheWeakestColumnWhenEveryRowIsAskedFor) {
    // Four rows with the fused similarities 1, 0.4, 0.4 and 0 in the query's row; with k = 3 only
    // the two in the middle vote.
    NeighbourLists shape;
    shape.rows = 4;
    shape.count = 1;
    shape.labels = {1, 1, 1, 0};
    shape.curveAreas = {0.0F, 1.0F, 1.0F, 1.0F};
    NeighbourLists text = shape;
    text.labels = {3, 2, 2, 2};
    text.curveAreas = {1.0F, 1.0F, 1.0F, 1.0F};
    const FusedSimilarities fused = fuseSimilarities(shape, text, 0.4F);
    const std::vector<float> scores = refineByNeighbours(fused, 3);
    EXPECT_EQ(scores, (std::vector<float>{(1.0F + 0.8F) / 4.0F, (0.4F + 2.0F) / 4.0F,
                                          (0.4F + 2.0F) / 4.0F, (0.0F + 1.0F) / 4.0F}));
}

}  // namespace
}  // namespace quillon::test
