// ByShape and ByText against a plain double loop. Values are small integers, so that distances are
// exact and many are equal.
#include "search/single_side.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#if __has_include(<faiss/IndexFlat.h>)
#include <faiss/IndexFlat.h>
#endif

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/failure_texts.h"

namespace quillon {
namespace {

using test::thrownText;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Hit = std::pair<std::int64_t, float>;

constexpr float infinity = std::numeric_limits<float>::infinity();
const float nan = std::nanf("");

FeatureMatrix matrixOf(const std::vector<std::vector<float>>& rows, std::size_t width) {
    FeatureMatrix matrix = FeatureMatrix::from_shape({rows.size(), width});
    for (std::size_t r = 0; r < rows.size(); ++r) {
        for (std::size_t c = 0; c < width; ++c) {
            matrix(r, c) = rows[r][c];
        }
    }
    return matrix;
}

using Search = void (*)(std::uint32_t, const FeatureMatrix&, const FeatureMatrix&, float,
                        std::vector<SearchResult>&);

std::vector<Hit> hitsOf(Search search, std::uint32_t k, const std::vector<float>& query,
                        const std::vector<std::vector<float>>& rows, float minThreshold) {
    std::vector<SearchResult> results;
    search(k, matrixOf({query}, query.size()), matrixOf(rows, rows.front().size()), minThreshold,
           results);
    std::vector<Hit> hits;
    for (const SearchResult& result : results) {
        EXPECT_EQ(result.shapeWeight, 0.0F);
        EXPECT_EQ(result.textWeight, 0.0F);
        hits.emplace_back(result.index, result.distOrScore);
    }
    return hits;
}

/// The k nearest rows by distance and then row, those at or beyond `limit` and, if asked for, those
/// equal to the query left out.
std::vector<Hit> reference(std::size_t k, const std::vector<float>& query,
                           const std::vector<std::vector<float>>& rows, float limit,
                           bool dropTwins) {
    std::vector<std::pair<float, std::size_t>> nearest;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        float distance = 0.0F;
        for (std::size_t c = 0; c < query.size(); ++c) {
            const float difference = query[c] - rows[r][c];
            distance += difference * difference;
        }
        nearest.emplace_back(distance, r);
    }
    std::sort(nearest.begin(), nearest.end());
    nearest.resize(std::min(k, nearest.size()));
    std::vector<Hit> hits;
    for (const auto& [distance, row] : nearest) {
        if (distance < limit && !(dropTwins && rows[row] == query)) {
            hits.emplace_back(static_cast<std::int64_t>(row), distance);
        }
    }
    return hits;
}

TEST(SearchByShapeAndText, ListTheNearestRowsWithTiesInRowOrder) {
    std::mt19937 random(1);
    for (const std::size_t width : {1U, 3U, 8U, 384U, 512U}) {
        for (const std::size_t rowCount : {1U, 2U, 7U, 50U, 300U}) {
            // Few different rows: every distance occurs many times, the query's own included.
            std::vector<std::vector<float>> rows(rowCount, std::vector<float>(width));
            for (auto& row : rows) {
                row.front() = static_cast<float>(random() % 5);
                row.back() = static_cast<float>(random() % 3);
            }
            const std::vector<float> query = rows[random() % rowCount];
            for (const std::size_t k : {std::size_t{1}, std::size_t{2}, std::size_t{20},
                                        std::size_t{99}, std::size_t{100}, rowCount}) {
                for (const float limit : {1.0F, 5.0F, 1000.0F}) {
                    SCOPED_TRACE(testing::Message() << "width " << width << ", rows " << rowCount
                                                    << ", k " << k << ", limit " << limit);
                    const auto count = static_cast<std::uint32_t>(k);
                    EXPECT_EQ(hitsOf(searchByShape, count, query, rows, 1.0F - limit),
                              reference(k, query, rows, limit, true));
                    EXPECT_EQ(hitsOf(searchByText, count, query, rows, 1.0F - limit),
                              reference(k, query, rows, limit, false));
                }
            }
        }
    }
}

#if __has_include(<faiss/IndexFlat.h>)
// Identical rows, distances that are not numbers or infinite, as many rows as several threads
// share, and the two ways in which faiss keeps the nearest: below k = 100 and from there on.
TEST(SearchByText, GivesTheAnswersOfFaiss) {
    std::mt19937 random(2);
    for (const std::size_t rowCount : {1U, 99U, 100U, 101U, 250U, 1500U, 9001U}) {
        FeatureMatrix rows = FeatureMatrix::from_shape({rowCount, 8});
        for (std::size_t r = 0; r < rowCount; ++r) {
            const float scale = random() % 100 == 0 ? 1e30F : 1.0F;
            for (std::size_t c = 0; c < 8; ++c) {
                rows(r, c) = scale * static_cast<float>(random() % 2);
            }
            if (random() % 20 == 0) {
                rows(r, random() % 8) = nan;
            }
        }
        const FeatureMatrix query = matrixOf({{1, 0, 1, 0, 0.5F, 0, 0, 1}}, 8);
        faiss::IndexFlatL2 index(8);
        index.add(static_cast<faiss::Index::idx_t>(rowCount), rows.data());
        for (const std::uint32_t k :
             {1U, 2U, 5U, 98U, 99U, 100U, 101U, 200U, 1400U, 1500U, 2000U}) {
            SCOPED_TRACE(testing::Message() << rowCount << " rows, k " << k);
            std::vector<float> distances(k);
            std::vector<faiss::Index::idx_t> labels(k);
            index.search(1, query.data(), k, distances.data(), labels.data());
            std::vector<Hit> expected;
            for (std::size_t i = 0; i < k && labels[i] >= 0; ++i) {
                expected.emplace_back(labels[i], distances[i]);
            }
            std::vector<SearchResult> results;
            searchByText(k, query, rows, -infinity, results);
            std::vector<Hit> hits;
            for (const SearchResult& result : results) {
                hits.emplace_back(result.index, result.distOrScore);
            }
            EXPECT_EQ(hits, expected);
        }
    }
}
#endif

TEST(SearchByShape, LeavesOutEveryTwinAndDoesNotRefillItsPlace) {
    const std::vector<std::vector<float>> rows{{1, 0}, {0, 0}, {2, 0}, {-0.0F, 0}};
    EXPECT_THAT(hitsOf(searchByShape, 3, {0, 0}, rows, -9.0F), ElementsAre(Pair(0, 1.0F)));
    EXPECT_THAT(hitsOf(searchByShape, 2, {0, 0}, rows, -9.0F), IsEmpty());
    EXPECT_THAT(hitsOf(searchByShape, 4, {0, 0}, rows, -9.0F),
                ElementsAre(Pair(0, 1.0F), Pair(2, 4.0F)));
}

TEST(SearchByText, ReportsTwins) {
    EXPECT_THAT(hitsOf(searchByText, 3, {0, 0}, {{1, 0}, {0, 0}, {2, 0}, {-0.0F, 0}}, -9.0F),
                ElementsAre(Pair(1, 0.0F), Pair(3, 0.0F), Pair(0, 1.0F)));
}

TEST(SearchByShape, KeepsARowAtDistanceZeroThatIsNoTwin) {
    // The square of the difference underflows.
    EXPECT_THAT(hitsOf(searchByShape, 1, {0, 0}, {{1e-30F, 0}}, 0.5F), ElementsAre(Pair(0, 0.0F)));
}

class BothSides : public testing::TestWithParam<Search> {};

TEST_P(BothSides, AdmitDistancesBelowTheLimitOnly) {
    const std::vector<std::vector<float>> rows{{0.5F, 0}, {0.5F, 0.25F}};  // 0.25 and 0.3125
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, rows, 0.75F), IsEmpty());
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, rows, std::nextafter(0.75F, 0.0F)),
                ElementsAre(Pair(0, 0.25F)));
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, rows, 0.6875F), ElementsAre(Pair(0, 0.25F)));
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, rows, 0.5F),
                ElementsAre(Pair(0, 0.25F), Pair(1, 0.3125F)));
}

TEST_P(BothSides, RoundTheLimitTo32Bits) {
    // 1 + 1e-9 is 1 in 32 bits, so that a distance of 1 is not below it.
    EXPECT_THAT(hitsOf(GetParam(), 1, {0, 0}, {{1, 0}}, -1e-9F), IsEmpty());
    EXPECT_THAT(hitsOf(GetParam(), 1, {0, 0}, {{1, 0}}, -1e-6F), ElementsAre(Pair(0, 1.0F)));
}

TEST_P(BothSides, FindNothingWhenNoDistanceCanPass) {
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, {{1, 0}, {0, 0}}, 1.0F), IsEmpty());
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, {{1, 0}, {0, 0}}, 2.0F), IsEmpty());
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, {{1, 0}, {0, 0}}, infinity), IsEmpty());
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0}, {{1, 0}, {0, 0}}, nan), IsEmpty());
}

TEST_P(BothSides, NeverReportUnfilledPositions) {
    for (const float minThreshold : {-9.0F, -infinity}) {
        for (const std::uint32_t k : {2U, 3U, 50U, 200U}) {
            EXPECT_THAT(hitsOf(GetParam(), k, {0, 0}, {{2, 0}, {0, 1}}, minThreshold),
                        ElementsAre(Pair(1, 1.0F), Pair(0, 4.0F)));
        }
    }
}

TEST_P(BothSides, DropRowsWithoutAFiniteDistance) {
    for (const float minThreshold : {-9.0F, -infinity}) {
        EXPECT_THAT(hitsOf(GetParam(), 4, {0, 0}, {{nan, 0}, {1, 0}, {infinity, 0}, {0, nan}},
                           minThreshold),
                    ElementsAre(Pair(1, 1.0F)));
        EXPECT_THAT(hitsOf(GetParam(), 2, {nan, 0}, {{nan, 0}, {1, 0}}, minThreshold), IsEmpty());
    }
}

TEST_P(BothSides, SearchByTheFirstColumnsOfAWiderQuery) {
    // Widths differ, so no row is the query's twin either.
    EXPECT_THAT(hitsOf(GetParam(), 2, {0, 0, 7}, {{1, 0}, {0, 0}}, -9.0F),
                ElementsAre(Pair(1, 0.0F), Pair(0, 1.0F)));
}

TEST_P(BothSides, RefuseToSearchForNothing) {
    std::vector<SearchResult> hits;
    const FeatureMatrix query = matrixOf({{0, 0}}, 2);
    for (const std::vector<std::vector<float>>& rows :
         {std::vector<std::vector<float>>{{1, 0}}, std::vector<std::vector<float>>{}}) {
        try {
            GetParam()(0, query, matrixOf(rows, 2), 0.3F, hits);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::exception& exception) {
            EXPECT_THAT(exception.what(), testing::HasSubstr("'k > 0' failed"));
        }
    }
    EXPECT_THAT(hits, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(, BothSides, testing::Values(&searchByShape, &searchByText),
                         [](const testing::TestParamInfo<Search>& side) {
                             return side.param == &searchByShape ? "ByShape" : "ByText";
                         });

// Even where a search would fail on its own: k is 0.
TEST(SearchByShape, RefusesAQueryNarrowerThanTheLibraryBeforeAnythingElse) {
    const FeatureMatrix shapes = FeatureMatrix::from_shape({3, 512});
    std::vector<SearchResult> hits;
    for (const std::size_t width : {0U, 1U, 511U}) {
        EXPECT_EQ(thrownText<std::invalid_argument>([&] {
                      searchByShape(0, FeatureMatrix::from_shape({1, width}), shapes, 0.2F, hits);
                  }),
                  "the query's shape vector has " + std::to_string(width) +
                      " elements, the library's rows have 512");
    }
    EXPECT_THAT(hits, IsEmpty());
}

TEST(SearchByText, RefusesAQueryNarrowerThanTheLibraryBeforeAnythingElse) {
    const FeatureMatrix texts = FeatureMatrix::from_shape({3, 384});
    std::vector<SearchResult> hits;
    for (const std::size_t width : {0U, 1U, 383U}) {
        EXPECT_EQ(thrownText<std::invalid_argument>([&] {
                      searchByText(0, FeatureMatrix::from_shape({1, width}), texts, 0.2F, hits);
                  }),
                  "the query's text vector has " + std::to_string(width) +
                      " elements, the library's rows have 384");
    }
    EXPECT_THAT(hits, IsEmpty());
}

}  // namespace
}  // namespace quillon
