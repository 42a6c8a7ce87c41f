// Loops shared out among the processors.
#include "shared/in_parallel.h"

#include <gtest/gtest.h>

#include <mutex>
#include <stdexcept>
#include <vector>

namespace quillon::test {
namespace {

TEST(InParallel, CoversEveryNumberOnce) {
    for (const std::size_t count : {0U, 1U, 2U, 3U, 7U, 1000U}) {
        for (const std::size_t least : {1U, 2U, 500U}) {
            std::vector<int> seen(count, 0);
            inParallel(count, least, [&](std::size_t begin, std::size_t end) {
                for (std::size_t i = begin; i < end; ++i) {
                    ++seen[i];
                }
            });
            EXPECT_EQ(seen, std::vector<int>(count, 1)) << count << ", least " << least;
        }
    }
}

TEST(InParallel, MakesNoRangeShorterThanTheLeast) {
    std::mutex mutex;
    std::vector<std::size_t> sizes;
    inParallel(100, 60, [&](std::size_t begin, std::size_t end) {
        const std::scoped_lock lock(mutex);
        sizes.push_back(end - begin);
    });
    EXPECT_EQ(sizes, std::vector<std::size_t>{100});
}

TEST(InParallel, ThrowsWhatTheWorkThrowsWhereverItRuns) {
    for (const std::size_t bad : {0U, 99U}) {
        EXPECT_THROW(inParallel(100, 1,
                                [&](std::size_t begin, std::size_t end) {
                                    if (begin <= bad && bad < end) {
                                        throw std::runtime_error("bad");
                                    }
                                }),
                     std::runtime_error);
    }
}

}  // namespace
}  // namespace quillon::test
