// Packs of vectors, and the kernels that this processor can run.
#include "search/packed_distances.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <span>
#include <vector>

namespace quillon::test {
namespace {

TEST(RunnableKernels, BeginWithTheOneThatEveryProcessorRuns) {
    const std::span<const DistanceKernel> kernels = runnableKernels();
    ASSERT_FALSE(kernels.empty());
    EXPECT_STREQ(kernels.front().name, "baseline");
    std::set<MeasureTile*> different;
    for (const DistanceKernel& kernel : kernels) {
        EXPECT_TRUE(different.insert(kernel.measureTile).second) << kernel.name;
    }
}

TEST(PackVectors, PutsEachVectorIntoItsLaneAndTheLastIntoThoseLeftOver) {
    for (std::size_t count = 1; count <= packSize; ++count) {
        for (const std::size_t width : {1U, 2U, 5U}) {
            std::vector<std::vector<float>> vectors(count, std::vector<float>(width));
            std::vector<const float*> pointers;
            for (std::size_t v = 0; v < count; ++v) {
                pointers.push_back(vectors[v].data());
                for (std::size_t i = 0; i < width; ++i) {
                    vectors[v][i] = static_cast<float>(100 * v + i);
                }
            }
            const VectorPack pack = packVectors(pointers, width);
            ASSERT_EQ(pack.size(), width);
            for (std::size_t i = 0; i < width; ++i) {
                for (std::size_t lane = 0; lane < packSize; ++lane) {
                    EXPECT_EQ(pack[i].lanes[lane], vectors[std::min(lane, count - 1)][i])
                        << count << " vectors, lane " << lane;
                }
            }
        }
    }
}

}  // namespace
}  // namespace quillon::test
