// Distances of packed vectors to the bit, by every kernel that the processor can run.
#include "search/distance_kernel.h"

#include <gtest/gtest.h>
#if __has_include(<faiss/utils/distances.h>)
#include <faiss/utils/distances.h>
#endif

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "search/packed_distances.h"
#include "search/squared_distances.h"

namespace quillon::test {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float largest = std::numeric_limits<float>::max();
constexpr std::size_t widths[] = {1, 3, 31, 32, 33, 63, 64, 65, 384, 512, 515};

std::uint32_t bitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

using Vectors = std::vector<std::vector<float>>;

/// Values of many magnitudes, so that sums in another order round to other bits.
Vectors madeUpVectors(std::size_t count, std::size_t width, std::mt19937& random) {
    Vectors vectors(count, std::vector<float>(width));
    for (std::vector<float>& vector : vectors) {
        for (float& value : vector) {
            value = std::ldexp(static_cast<float>(random() % 2001) - 1000.0F,
                               static_cast<int>(random() % 24) - 12);
        }
    }
    return vectors;
}

std::vector<const float*> pointersTo(const Vectors& vectors) {
    std::vector<const float*> pointers;
    for (const std::vector<float>& vector : vectors) {
        pointers.push_back(vector.data());
    }
    return pointers;
}

/// By faiss, where the tests are built with it.
float plainDistance(const std::vector<float>& a, const std::vector<float>& b) {
#if __has_include(<faiss/utils/distances.h>)
    return faiss::fvec_L2sqr(a.data(), b.data(), a.size());
#else
    float sum = 0.0F;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const float difference = a[i] - b[i];
        sum += difference * difference;
    }
    return sum;
#endif
}

/// Up to where the distances of a tile are of interest.
struct TileLimits {
    alignas(64) std::array<float, packSize> lanes{};
    std::array<float, tileRows> rows{};
};

/// The exact distances [row][lane], the last of `packed` in the lanes left over.
using Exact = std::array<std::array<float, packSize>, tileRows>;

Exact exactDistances(const Vectors& packed, const Vectors& rows) {
    Exact exact{};
    for (std::size_t r = 0; r < tileRows; ++r) {
        forEachDistance(
            rows[r].data(), rows[r].size(), packSize,
            [&](std::size_t lane) { return packed[std::min(lane, packed.size() - 1)].data(); },
            [&](std::size_t lane, float distance) { exact[r][lane] = distance; });
        for (std::size_t lane = 0; lane < packed.size(); ++lane) {
            const float plain = plainDistance(rows[r], packed[lane]);
            EXPECT_TRUE(bitsOf(exact[r][lane]) == bitsOf(plain) ||
                        (std::isnan(exact[r][lane]) && std::isnan(plain)));
        }
    }
    return exact;
}

/// Returns how many distances are below their limits.
std::size_t expectTile(const DistanceKernel& kernel, const Vectors& packed, const Vectors& rows,
                       const Exact& exact, const TileLimits& limits) {
    const VectorPack pack = packVectors(pointersTo(packed), rows[0].size());
    std::array<const float*, tileRows> rowPointers{};
    std::copy_n(pointersTo(rows).begin(), tileRows, rowPointers.begin());
    // What was there before counts for nothing.
    alignas(64) Exact distances{};
    for (auto& ofRow : distances) {
        ofRow.fill(-1.0F);
    }
    kernel.measureTile(pack.front().lanes.data(), pack.size(), rowPointers.data(),
                       limits.lanes.data(), limits.rows.data(), distances.front().data());
    std::size_t belowCount = 0;
    for (std::size_t r = 0; r < tileRows; ++r) {
        for (std::size_t lane = 0; lane < packSize; ++lane) {
            const float limit = std::max(limits.lanes[lane], limits.rows[r]);
            if (exact[r][lane] < limit) {
                EXPECT_EQ(bitsOf(distances[r][lane]), bitsOf(exact[r][lane]))
                    << "row " << r << ", lane " << lane << ", limit " << limit;
                ++belowCount;
            } else {
                EXPECT_FALSE(distances[r][lane] < limit)
                    << "row " << r << ", lane " << lane << ", limit " << limit;
            }
        }
    }
    return belowCount;
}

TileLimits limitsOf(float lanes, float rows) {
    TileLimits limits;
    limits.lanes.fill(lanes);
    limits.rows.fill(rows);
    return limits;
}

/// Limits at, just above and far from the exact distances, for lanes, rows or both.
TileLimits mixedLimits(const Exact& exact, std::mt19937& random) {
    const auto choose = [&](float distance) {
        const float number = std::isnan(distance) ? 1.0F : distance;
        const std::array<float, 7> choices{number,
                                           std::nextafter(number, infinity),
                                           std::nextafter(number, -infinity),
                                           number / 2.0F,
                                           -largest,
                                           largest,
                                           number * 2.0F};
        // Mostly around the distance.
        return choices[random() % 3 == 0 ? random() % choices.size() : random() % 3];
    };
    TileLimits limits = limitsOf(-largest, -largest);
    const auto kind = random() % 3;
    for (std::size_t lane = 0; lane < packSize && kind != 0; ++lane) {
        limits.lanes[lane] = choose(exact[random() % tileRows][lane]);
    }
    for (std::size_t r = 0; r < tileRows && kind != 1; ++r) {
        limits.rows[r] = choose(exact[r][random() % packSize]);
    }
    return limits;
}

void expectTilesOfAllLimits(const DistanceKernel& kernel, const Vectors& packed,
                            const Vectors& rows, std::mt19937& random) {
    const Exact exact = exactDistances(packed, rows);
    expectTile(kernel, packed, rows, exact, limitsOf(-largest, largest));
    expectTile(kernel, packed, rows, exact, limitsOf(infinity, -largest));
    EXPECT_EQ(expectTile(kernel, packed, rows, exact, limitsOf(-largest, -largest)), 0U);
    EXPECT_EQ(expectTile(kernel, packed, rows, exact, limitsOf(0.0F, 0.0F)), 0U);
    // One pair of the tile is of interest.
    TileLimits one = limitsOf(-largest, -largest);
    const std::size_t row = random() % tileRows;
    const float nearest = *std::min_element(exact[row].begin(), exact[row].end());
    one.rows[row] = std::isnan(nearest) ? 1.0F : nearest;
    expectTile(kernel, packed, rows, exact, one);
    one.rows[row] = std::nextafter(one.rows[row], infinity);
    expectTile(kernel, packed, rows, exact, one);
    for (int i = 0; i < 4; ++i) {
        expectTile(kernel, packed, rows, exact, mixedLimits(exact, random));
    }
}

TEST(MeasureTile, IsExactToTheBitForEveryWidthAndNumberOfVectors) {
    for (const DistanceKernel& kernel : runnableKernels()) {
        SCOPED_TRACE(kernel.name);
        std::mt19937 random(1);
        for (const std::size_t width : widths) {
            for (std::size_t count = 1; count <= packSize; ++count) {
                SCOPED_TRACE(std::to_string(width) + " elements, " + std::to_string(count) +
                             " vectors");
                const Vectors packed = madeUpVectors(count, width, random);
                expectTilesOfAllLimits(kernel, packed, madeUpVectors(tileRows, width, random),
                                       random);
            }
        }
    }
}

// Limits that the last elements alone bring the sums to.
TEST(MeasureTile, LooksAtTheLimitsBehindTheLastElement) {
    for (const DistanceKernel& kernel : runnableKernels()) {
        SCOPED_TRACE(kernel.name);
        std::mt19937 random(2);
        for (const std::size_t width : widths) {
            SCOPED_TRACE(width);
            Vectors packed(packSize, std::vector<float>(width, 0.0F));
            Vectors rows(tileRows, std::vector<float>(width, 0.0F));
            for (std::size_t lane = 0; lane < packSize; ++lane) {
                packed[lane].back() = static_cast<float>(lane);
            }
            const Exact exact = exactDistances(packed, rows);
            for (std::size_t lane = 0; lane < packSize; ++lane) {
                const float distance = static_cast<float>(lane * lane);
                EXPECT_EQ(expectTile(kernel, packed, rows, exact, limitsOf(-largest, distance)),
                          lane * tileRows);
                EXPECT_EQ(expectTile(kernel, packed, rows, exact,
                                     limitsOf(std::nextafter(distance, infinity), -largest)),
                          (lane + 1) * tileRows);
            }
        }
    }
}

// The sum of one pair stays low while all others are beyond their limits from the first element on,
// and the other way.
TEST(MeasureTile, GoesOnForASinglePair) {
    for (const DistanceKernel& kernel : runnableKernels()) {
        SCOPED_TRACE(kernel.name);
        std::mt19937 random(3);
        for (const std::size_t width : {33U, 512U}) {
            for (std::size_t pair = 0; pair < packSize * tileRows; ++pair) {
                SCOPED_TRACE(std::to_string(width) + " elements, pair " + std::to_string(pair));
                Vectors packed = madeUpVectors(packSize, width, random);
                Vectors rows = madeUpVectors(tileRows, width, random);
                for (std::vector<float>& row : rows) {
                    row[0] = 1e6F;
                }
                rows[pair / packSize] = packed[pair % packSize];
                rows[pair / packSize][width - 1] += 0.5F;
                const Exact exact = exactDistances(packed, rows);
                EXPECT_EQ(expectTile(kernel, packed, rows, exact, limitsOf(-largest, 1.0F)), 1U);
            }
        }
    }
}

TEST(MeasureTile, TakesAnyFloats) {
    for (const DistanceKernel& kernel : runnableKernels()) {
        SCOPED_TRACE(kernel.name);
        std::mt19937 random(4);
        constexpr std::array<float, 12> odd{nan,   infinity, -infinity, 3e38F,  -3e38F, 1.5e19F,
                                            1e20F, 1e-20F,   1e-23F,    1e-40F, -0.0F,  0.0F};
        for (const std::size_t width : widths) {
            for (int repetition = 0; repetition < 20; ++repetition) {
                SCOPED_TRACE(std::to_string(width) + " elements, " + std::to_string(repetition));
                Vectors packed = madeUpVectors(1 + random() % packSize, width, random);
                Vectors rows = madeUpVectors(tileRows, width, random);
                // Among vectors of any length, or among those so short that their squares
                // underflow.
                const bool areShort = repetition % 4 == 0;
                for (Vectors* vectors : {&packed, &rows}) {
                    for (std::vector<float>& vector : *vectors) {
                        for (float& value : vector) {
                            value *= areShort ? 1e-24F : 1.0F;
                        }
                        if (random() % 2 == 0) {
                            vector[random() % width] = odd[random() % odd.size()];
                        }
                    }
                }
                expectTilesOfAllLimits(kernel, packed, rows, random);
            }
        }
    }
}

}  // namespace
}  // namespace quillon::test
