// Adaptive on any number of workers, by every kernel, against the dense form: hit by hit and bit by
// bit.
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <limits>
#include <span>
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

reference::FusedLibrary fusedLibrary(const RandomLibrary& library) {
    return reference::fuseLibrary(library.queryShape, library.queryText, library.shapeMatrix,
                                  library.textMatrix);
}

/// Returns how many hits all forms agree on. `fused` is the library's.
std::size_t expectSameHits(const RandomLibrary& library, const reference::FusedLibrary& fused,
                           std::uint32_t k, float minThreshold, const std::string& label) {
    const std::vector<SearchResult> expected = reference::searchFused(fused, k, minThreshold);
    // Workers and kernels in turns: over many searches each comes with each.
    static std::size_t searches = 0;
    const std::span<const DistanceKernel> kernels = runnableKernels();
    for (const std::size_t workers : {1U, 2U, 7U}) {
        const DistanceKernel& kernel = kernels[searches++ / 3 % kernels.size()];
        std::vector<SearchResult> hits;
        searchAdaptiveOn(workers, kernel, k, library.queryShape, library.queryText,
                         library.shapeMatrix, library.textMatrix, minThreshold, hits);
        EXPECT_EQ(bitsOf(hits), bitsOf(expected))
            << workers << " workers, kernel " << kernel.name << ", " << label;
    }
    return expected.size();
}

std::size_t expectSameHits(const RandomLibrary& library, std::uint32_t k, float minThreshold,
                           const std::string& label) {
    return expectSameHits(library, fusedLibrary(library), k, minThreshold, label);
}

std::string labelOf(LibraryKind shapeKind, LibraryKind textKind, std::size_t rowCount,
                    std::uint32_t k, std::uint32_t seed) {
    return "shape " + nameOf(shapeKind) + ", text " + nameOf(textKind) + ", rows " +
           std::to_string(rowCount) + ", k " + std::to_string(k) + ", seed " + std::to_string(seed);
}

constexpr float noThreshold = -std::numeric_limits<float>::infinity();

/// No threshold, the usual one, one between, and the one that rows of score 0 just reach.
float thresholdFor(std::uint32_t seed) {
    constexpr float thresholds[] = {noThreshold, 0.3F, 0.05F, 0.0F};
    return thresholds[seed % 4];
}

/// A kind of the text side, together with every kind of the shape side.
class SearchAdaptiveByKind : public testing::TestWithParam<LibraryKind> {
  protected:
    /// Each pair of kinds has seeds of its own, `count` of them.
    static std::uint32_t firstSeed(LibraryKind shapeKind, std::uint32_t count) {
        constexpr std::uint32_t kinds = std::size(allLibraryKinds);
        return (static_cast<std::uint32_t>(shapeKind) * kinds +
                static_cast<std::uint32_t>(GetParam())) *
               count;
    }
};

TEST_P(SearchAdaptiveByKind, EqualsTheDenseFormOnSmallLibraries) {
    std::size_t hits = 0;
    for (const LibraryKind shapeKind : allLibraryKinds) {
        std::uint32_t seed = firstSeed(shapeKind, 49);
        for (std::uint32_t rowCount = 0; rowCount < 49; ++rowCount) {
            ++seed;
            const RandomLibrary library = makeRandomLibrary(shapeKind, GetParam(), rowCount, seed);
            const std::uint32_t k = seed % 5 == 0 ? rowCount : seed % (rowCount + 1);
            hits += expectSameHits(library, k, thresholdFor(seed),
                                   labelOf(shapeKind, GetParam(), rowCount, k, seed));
        }
    }
    EXPECT_GT(hits, 500U);
}

TEST(SearchAdaptive, EqualsTheDenseFormForEveryNumberOfHits) {
    std::size_t hits = 0;
    for (const LibraryKind kind : allLibraryKinds) {
        const std::uint32_t rowCount = 40;
        const RandomLibrary library = makeRandomLibrary(kind, LibraryKind::clustered, rowCount, 7);
        const reference::FusedLibrary fused = fusedLibrary(library);
        for (std::uint32_t k = 0; k <= rowCount; ++k) {
            hits += expectSameHits(library, fused, k, noThreshold,
                                   labelOf(kind, LibraryKind::clustered, rowCount, k, 7));
        }
    }
    EXPECT_GT(hits, 1000U);
}

TEST_P(SearchAdaptiveByKind, EqualsTheDenseFormOnMiddlingLibraries) {
    std::size_t hits = 0;
    for (const LibraryKind shapeKind : allLibraryKinds) {
        std::uint32_t seed = 10'000 + firstSeed(shapeKind, 9);
        // Around the longest curve, and around the numbers of rows that are compared as samples.
        for (const std::uint32_t rowCount : {98U, 99U, 100U, 101U, 102U, 254U, 255U, 256U, 400U}) {
            ++seed;
            if (seed % 3 != 0 && rowCount > 100 && rowCount < 400) {
                continue;
            }
            const RandomLibrary library = makeRandomLibrary(shapeKind, GetParam(), rowCount, seed);
            const std::uint32_t k = seed % 7 == 0 ? rowCount : seed % 11;
            hits += expectSameHits(library, k, thresholdFor(seed),
                                   labelOf(shapeKind, GetParam(), rowCount, k, seed));
        }
    }
    EXPECT_GT(hits, 100U);
}

INSTANTIATE_TEST_SUITE_P(, SearchAdaptiveByKind, testing::ValuesIn(allLibraryKinds),
                         [](const auto& kind) { return nameOf(kind.param); });

class SearchAdaptiveByRows : public testing::TestWithParam<std::uint32_t> {};

TEST_P(SearchAdaptiveByRows, EqualsTheDenseFormOnLargeLibraries) {
    const std::uint32_t rowCount = GetParam();
    std::size_t hits = 0;
    std::uint32_t seed = 20'000 + rowCount;
    for (const LibraryKind kind :
         {LibraryKind::uniform, LibraryKind::clustered, LibraryKind::lattice,
          LibraryKind::nearTwins, LibraryKind::oneCommon, LibraryKind::lengths}) {
        ++seed;
        const RandomLibrary library = makeRandomLibrary(kind, kind, rowCount, seed);
        const std::uint32_t k = seed % 5 == 0 ? 100 : 5;
        hits +=
            expectSameHits(library, k, thresholdFor(seed), labelOf(kind, kind, rowCount, k, seed));
    }
    EXPECT_GT(hits, 20U);
}

INSTANTIATE_TEST_SUITE_P(, SearchAdaptiveByRows, testing::Values(998U, 999U, 1000U, 1700U),
                         testing::PrintToStringParamName());

// Rows identical with others, unlike in the other libraries, by many vectors: most rows have some,
// or so many that scores tie by the dozen.
TEST(SearchAdaptive, EqualsTheDenseFormOnManyIdenticalRows) {
    std::size_t hits = 0;
    for (std::uint32_t seed = 30'000; seed < 30'008; ++seed) {
        const std::uint32_t rowCount = 1200;
        const std::uint32_t shapes = seed % 4 == 0 ? 20 : 200 + seed % 7;
        const std::uint32_t texts = seed % 4 == 0 ? 20 : 6 + seed % 5;
        RandomLibrary library =
            makeRandomLibrary(LibraryKind::uniform, LibraryKind::clustered, rowCount, seed);
        for (std::uint32_t row = 0; row < rowCount; ++row) {
            const std::uint32_t shape = row % shapes;
            const std::uint32_t text = row % texts;
            std::copy_n(library.shapeMatrix.data() + shape * shapeWidth, shapeWidth,
                        library.shapeMatrix.data() + row * shapeWidth);
            std::copy_n(library.textMatrix.data() + text * textWidth, textWidth,
                        library.textMatrix.data() + row * textWidth);
        }
        hits += expectSameHits(
            library, 5 + seed % 30, thresholdFor(seed),
            labelOf(LibraryKind::uniform, LibraryKind::clustered, rowCount, 5 + seed % 30, seed));
    }
    EXPECT_GT(hits, 20U);
}

}  // namespace
}  // namespace quillon::test
