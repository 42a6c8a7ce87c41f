// Adaptive on libraries small enough to be worked out by hand.
#include "search/adaptive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>
#include <xtensor/xexception.hpp>

#include "support/failure_texts.h"
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

/// No row has the query's vector on either side.
RandomLibrary clustered(std::uint32_t rowCount) {
    RandomLibrary library =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, rowCount, 5);
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

TEST(SearchAdaptive, PassesOverQueryTwinsWithoutCountingThem) {
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
    const auto expectFailure = [](const RandomLibrary& library) {
        EXPECT_EQ(thrownText<xt::concatenate_error>([&] { search(library, 1, 0.0F); }),
                  "Incompatible dimension of arrays, compile in DEBUG for more info");
    };
    for (const std::size_t width :
         {std::size_t{0}, std::size_t{1}, shapeWidth - 1, shapeWidth + 1, 2 * shapeWidth}) {
        RandomLibrary library = clustered(3);
        library.queryShape = FeatureMatrix::from_shape({1, width});
        expectFailure(library);
    }
    for (const std::size_t width :
         {std::size_t{0}, std::size_t{1}, textWidth - 1, textWidth + 1, 2 * textWidth}) {
        RandomLibrary library = clustered(3);
        library.queryText = FeatureMatrix::from_shape({1, width});
        expectFailure(library);
    }
}

/// Hits by index and score, each block of `library` counted from `offset` on.
std::vector<std::pair<std::int64_t, float>> hitsFrom(const RandomLibrary& library,
                                                     std::int64_t offset) {
    std::vector<std::pair<std::int64_t, float>> hits;
    for (const SearchResult& hit : search(library, 5, 0.3F)) {
        hits.emplace_back(hit.index - offset, hit.distOrScore);
    }
    return hits;
}

RandomLibrary withRows(const RandomLibrary& library, std::size_t before, float shapeValue,
                       float textValue, std::size_t count) {
    RandomLibrary longer = library;
    const std::size_t rowCount = library.shapeMatrix.shape(0) + count;
    longer.shapeMatrix = FeatureMatrix::from_shape({rowCount, shapeWidth});
    longer.textMatrix = FeatureMatrix::from_shape({rowCount, textWidth});
    longer.shapeMatrix.fill(0.0F);
    longer.textMatrix.fill(0.0F);
    for (std::size_t row = 0; row < rowCount; ++row) {
        if (row >= before && row < before + count) {
            longer.shapeMatrix(row, 0) = shapeValue;
            longer.textMatrix(row, 0) = textValue;
        } else {
            const std::size_t from = row < before ? row : row - count;
            std::copy_n(library.shapeMatrix.data() + from * shapeWidth, shapeWidth,
                        longer.shapeMatrix.data() + row * shapeWidth);
            std::copy_n(library.textMatrix.data() + from * textWidth, textWidth,
                        longer.textMatrix.data() + row * textWidth);
        }
    }
    return longer;
}

// The scores of such blocks are not numbers. Wherever they stand, the others keep theirs.
TEST(SearchAdaptive, OneBlockThatIsNotANumberTakesNoHitAway) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const RandomLibrary library = clustered(201);
    const auto hits = hitsFrom(library, 0);
    ASSERT_EQ(hits.size(), 5U);
    for (const float bad : {nan, infinity, 1e38F, 1e18F, 1e10F}) {
        for (const std::size_t place : {0U, 100U, 201U}) {
            std::vector<std::pair<std::int64_t, float>> expected = hits;
            for (auto& [index, score] : expected) {
                index += index >= static_cast<std::int64_t>(place) ? 1 : 0;
            }
            EXPECT_EQ(hitsFrom(withRows(library, place, bad, bad, 1), 0), expected)
                << bad << " at " << place;
        }
    }
}

TEST(SearchAdaptive, ManyRowsIdenticalWithAnotherTakeNoHitAway) {
    const RandomLibrary library = clustered(201);
    const auto hits = hitsFrom(library, 0);
    for (const std::size_t identical : {100U, 101U, 102U, 150U}) {
        EXPECT_EQ(hitsFrom(withRows(library, 201, 9.0F, 9.0F, identical), 0), hits) << identical;
        EXPECT_EQ(hitsFrom(withRows(library, 0, 9.0F, 9.0F, identical),
                           static_cast<std::int64_t>(identical)),
                  hits)
            << identical;
    }
}

}  // namespace
}  // namespace quillon::test
