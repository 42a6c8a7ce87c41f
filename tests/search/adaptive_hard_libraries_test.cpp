// Adaptive on large libraries made to mislead it, against the plain form that goes row by row.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "reference/dense_adaptive.h"
#include "reference/row_by_row_adaptive.h"
#include "search/adaptive.h"
#include "support/hard_libraries.h"

namespace quillon::test {
namespace {

constexpr float noThreshold = -std::numeric_limits<float>::infinity();

/// Every bit of every hit.
std::vector<std::string> bitsOf(const std::vector<SearchResult>& hits) {
    std::vector<std::string> texts;
    const auto bits = [](float value) {
        std::uint32_t result = 0;
        std::memcpy(&result, &value, sizeof result);
        return std::to_string(result);
    };
    for (const SearchResult& hit : hits) {
        texts.push_back(std::to_string(hit.index) + ':' + bits(hit.distOrScore) + ':' +
                        bits(hit.shapeWeight) + ':' + bits(hit.textWeight));
    }
    return texts;
}

/// Returns the hits.
std::vector<SearchResult> expectPlainHits(const RandomLibrary& library, std::uint32_t k) {
    std::vector<SearchResult> hits;
    searchAdaptive(k, library.queryShape, library.queryText, library.shapeMatrix,
                   library.textMatrix, noThreshold, hits);
    EXPECT_EQ(bitsOf(hits), bitsOf(reference::searchAdaptiveRowByRow(
                                k, library.queryShape, library.queryText, library.shapeMatrix,
                                library.textMatrix, noThreshold)))
        << "k " << k;
    return hits;
}

TEST(SearchAdaptiveRowByRow, EqualsTheDenseFormOnLibrariesOfEveryKind) {
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount : {5U, 31U, 32U, 101U, 150U}) {
            SCOPED_TRACE(nameOf(kind) + ", rows " + std::to_string(rowCount));
            const RandomLibrary library =
                makeRandomLibrary(kind, LibraryKind::clustered, rowCount, rowCount);
            for (const std::uint32_t k : {5U, rowCount}) {
                EXPECT_EQ(bitsOf(reference::searchAdaptiveRowByRow(
                              k, library.queryShape, library.queryText, library.shapeMatrix,
                              library.textMatrix, noThreshold)),
                          bitsOf(reference::searchAdaptive(k, library.queryShape, library.queryText,
                                                           library.shapeMatrix, library.textMatrix,
                                                           noThreshold)));
            }
        }
    }
}

// So many hits that more than 1,024 lists are made at once.
TEST(SearchAdaptive, EqualsTheDenseFormOnTwoThousandListsAndMore) {
    const RandomLibrary library = uniformLibrary(2100, 1);
    EXPECT_EQ(expectPlainHits(library, 200).size(), 200U);
}

// So many hits that a row which is ruled out by mistake is missing from them.
TEST(SearchAdaptive, EqualsTheDenseFormOnUniformRows) {
    EXPECT_EQ(expectPlainHits(uniformLibrary(3000, 2), 150).size(), 150U);
}

TEST(SearchAdaptive, EqualsTheDenseFormOnMoreUniformRows) {
    EXPECT_EQ(expectPlainHits(uniformLibrary(4200, 2), 100).size(), 100U);
}

// The sum of two weights rounds up, so a score can be above 1: a bound on it must not be below.
TEST(SearchAdaptive, EqualsTheDenseFormOnRowsAroundSixIdenticalOnes) {
    for (const float shapeLength : {114.0F / 1024.0F, 140.0F / 1024.0F}) {
        const std::vector<SearchResult> hits =
            expectPlainHits(libraryAroundSixIdenticalRows(shapeLength, 75.0F / 1024.0F), 5);
        ASSERT_EQ(hits.size(), 5U);
        EXPECT_EQ(hits.back().distOrScore, 0x1.000002p+0F);
    }
}

TEST(SearchAdaptive, EqualsTheDenseFormOnDistancesAtTheLargestFloat) {
    for (std::uint32_t seed = 0; seed < 8; ++seed) {
        SCOPED_TRACE(seed);
        EXPECT_EQ(expectPlainHits(libraryAtTheLargestDistance(seed), 8).size(), 8U);
    }
}

}  // namespace
}  // namespace quillon::test
