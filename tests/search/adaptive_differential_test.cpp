// The factored form of Adaptive against the dense one: hit by hit and bit by bit.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "reference/dense_adaptive.h"
#include "search/adaptive.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

/// Every bit of every hit; a NaN equals a NaN here.
std::string bitsOf(const std::vector<SearchResult>& hits) {
    std::string text;
    const auto bits = [](float value) {
        std::uint32_t result = 0;
        std::memcpy(&result, &value, sizeof result);
        return std::to_string(result);
    };
    for (const SearchResult& hit : hits) {
        text += std::to_string(hit.index) + ':' + bits(hit.distOrScore) + ':' +
                bits(hit.shapeWeight) + ':' + bits(hit.textWeight) + ' ';
    }
    return text;
}

/// Returns how many hits both forms agree on.
std::size_t expectSameHits(const RandomLibrary& library, std::uint32_t k, float minThreshold,
                           const std::string& label) {
    std::vector<SearchResult> hits;
    searchAdaptive(k, library.queryShape, library.queryText, library.shapeMatrix,
                   library.textMatrix, minThreshold, hits);
    const std::vector<SearchResult> expected =
        reference::searchAdaptive(k, library.queryShape, library.queryText, library.shapeMatrix,
                                  library.textMatrix, minThreshold);
    EXPECT_EQ(bitsOf(hits), bitsOf(expected)) << label;
    return hits.size();
}

std::string labelOf(LibraryKind shapeKind, LibraryKind textKind, std::size_t rows, std::uint32_t k,
                    std::uint32_t seed) {
    return "shape " + nameOf(shapeKind) + ", text " + nameOf(textKind) + ", rows " +
           std::to_string(rows) + ", k " + std::to_string(k) + ", seed " + std::to_string(seed);
}

constexpr float noThreshold = -std::numeric_limits<float>::infinity();

TEST(SearchAdaptive, EqualsTheDenseFormOnSmallLibraries) {
    std::size_t hits = 0;
    std::uint32_t seed = 0;
    for (const LibraryKind shapeKind : allLibraryKinds) {
        for (const LibraryKind textKind : allLibraryKinds) {
            for (std::uint32_t draw = 0; draw < 98; ++draw) {
                const std::uint32_t rows = draw / 2;
                ++seed;
                const RandomLibrary library = makeRandomLibrary(shapeKind, textKind, rows, seed);
                const std::uint32_t k = seed % 4 == 0 ? rows : seed % (rows + 1);
                hits += expectSameHits(library, k, seed % 5 == 0 ? 0.3F : noThreshold,
                                       labelOf(shapeKind, textKind, rows, k, seed));
            }
        }
    }
    EXPECT_GT(hits, 5000U);
}

TEST(SearchAdaptive, EqualsTheDenseFormOnMiddlingLibraries) {
    std::size_t hits = 0;
    std::uint32_t seed = 10'000;
    for (const LibraryKind shapeKind : allLibraryKinds) {
        for (const LibraryKind textKind : allLibraryKinds) {
            for (const std::uint32_t rows : {98U, 99U, 100U, 101U, 102U, 400U}) {
                ++seed;
                const RandomLibrary library = makeRandomLibrary(shapeKind, textKind, rows, seed);
                const std::uint32_t k = seed % 3 == 0 ? rows : seed % 11;
                hits += expectSameHits(library, k, noThreshold,
                                       labelOf(shapeKind, textKind, rows, k, seed));
            }
        }
    }
    EXPECT_GT(hits, 1000U);
}

TEST(SearchAdaptive, EqualsTheDenseFormOnLargeLibraries) {
    std::size_t hits = 0;
    std::uint32_t seed = 20'000;
    for (const std::uint32_t rows : {998U, 999U, 1000U, 2000U}) {
        for (const LibraryKind kind : {LibraryKind::clustered, LibraryKind::lattice}) {
            ++seed;
            const RandomLibrary library = makeRandomLibrary(kind, kind, rows, seed);
            const std::uint32_t k = seed % 3 == 0 ? 200 : 5;
            hits += expectSameHits(library, k, noThreshold, labelOf(kind, kind, rows, k, seed));
        }
    }
    EXPECT_GT(hits, 100U);
}

}  // namespace
}  // namespace quillon::test
