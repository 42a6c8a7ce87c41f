// Adaptive on libraries small enough to be worked out by hand.
#include "search/adaptive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "reference/dense_adaptive.h"
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

TEST(AscendingOrder, OfFewValuesOnlyThoseBelowTheFirstMovePastANan) {
    EXPECT_EQ(ascendingOrder({0.811F, 0.785F, 0.807F, nan, 0.752F}),
              (std::vector<std::size_t>{4, 1, 2, 0, 3}));
    EXPECT_EQ(ascendingOrder({3.0F, 2.0F, nan, 1.0F, 0.0F, nan, nan, 5.0F, 4.0F}),
              (std::vector<std::size_t>{4, 3, 1, 0, 2, 5, 6, 8, 7}));
    EXPECT_EQ(ascendingOrder({nan, 2.0F, 1.0F, nan, 0.0F}),
              (std::vector<std::size_t>{0, 2, 1, 3, 4}));
}

TEST(AscendingOrder, NansComeFirstAmongManyValues) {
    std::vector<float> values(33, 1.0F);
    values[0] = 2.0F;
    values[4] = nan;
    values[20] = nan;
    values[30] = 0.5F;
    const std::vector<std::size_t> order = ascendingOrder(values);
    EXPECT_EQ((std::vector<std::size_t>{order[0], order[1], order[2], order[3], order[32]}),
              (std::vector<std::size_t>{4, 20, 30, 1, 0}));
    values.resize(32);
    std::vector<std::size_t> expected{30, 1, 2, 3, 0};
    for (std::size_t i = 4; i < 32; ++i) {
        if (i != 30) {
            expected.push_back(i);
        }
    }
    EXPECT_EQ(ascendingOrder(values), expected);
}

/// By the reference, and up to 16 values, which it sorts by insertion alone, by the standard
/// library too.
void expectOrderOfAnInsertionSort(const std::vector<float>& values) {
    const std::vector<std::size_t> actual = ascendingOrder(values);
    reference::Floats row = reference::Floats::from_shape({1, values.size()});
    std::copy(values.begin(), values.end(), row.begin());
    const std::vector<std::int64_t> plain = reference::insertionSorted(row, 0);
    ASSERT_EQ(actual, std::vector<std::size_t>(plain.begin(), plain.end()))
        << testing::PrintToString(values);
#ifdef __GLIBCXX__
    if (values.size() <= 16) {
        std::vector<std::size_t> sorted(values.size());
        std::iota(sorted.begin(), sorted.end(), std::size_t{0});
        std::sort(sorted.begin(), sorted.end(),
                  [&](std::size_t a, std::size_t b) { return values[a] < values[b]; });
        ASSERT_EQ(actual, sorted) << testing::PrintToString(values);
    }
#endif
}

TEST(AscendingOrder, EqualsAnInsertionSortOfFewValues) {
    constexpr std::array<float, 4> kinds{nan, 0.0F, 1.0F, 2.0F};
    // All sequences of up to 6 values, then random ones.
    for (std::size_t size = 0, sequences = 1; size <= 6; ++size, sequences *= kinds.size()) {
        for (std::size_t sequence = 0; sequence < sequences; ++sequence) {
            std::vector<float> values;
            for (std::size_t rest = sequence; values.size() < size; rest /= kinds.size()) {
                values.push_back(kinds[rest % kinds.size()]);
            }
            expectOrderOfAnInsertionSort(values);
        }
    }
    std::mt19937 random(5);
    for (std::size_t sequence = 0; sequence < 20'000; ++sequence) {
        std::vector<float> values(random() % 33);
        const std::size_t nanOneIn = 2 + random() % 12;
        for (float& value : values) {
            value = random() % nanOneIn == 0 ? nan : static_cast<float>(random() % 20);
        }
        expectOrderOfAnInsertionSort(values);
    }
}

TEST(QuickerWay, ListsAllRowsOfSmallLibrariesAndForManyHits) {
    EXPECT_EQ(quickerWay(5, 999), ListedRows::all);
    EXPECT_EQ(quickerWay(5, 1000), ListedRows::thoseThatCount);
    EXPECT_EQ(quickerWay(1000, 20000), ListedRows::thoseThatCount);
    EXPECT_EQ(quickerWay(1001, 20000), ListedRows::all);
    EXPECT_EQ(quickerWay(0, 20000), ListedRows::thoseThatCount);
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

TEST(SearchAdaptive, ManyCopiesOfAnotherBlockTakeNoHitAway) {
    const RandomLibrary library = clustered(201);
    const auto hits = hitsFrom(library, 0);
    for (const std::size_t copies : {100U, 101U, 102U, 150U}) {
        EXPECT_EQ(hitsFrom(withRows(library, 201, 9.0F, 9.0F, copies), 0), hits) << copies;
        EXPECT_EQ(
            hitsFrom(withRows(library, 0, 9.0F, 9.0F, copies), static_cast<std::int64_t>(copies)),
            hits)
            << copies;
    }
}

}  // namespace
}  // namespace quillon::test
