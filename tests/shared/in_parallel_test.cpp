// Loops shared out among the processors.
#include "shared/in_parallel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/failure_texts.h"

namespace quillon::test {
namespace {

constexpr std::size_t workerCounts[] = {1, 2, 3, 7, 64};

TEST(ForEachChunk, CoversEveryNumberOnce) {
    for (const std::size_t workers : workerCounts) {
        for (const std::size_t count : {0U, 1U, 2U, 5U, 63U, 64U, 65U, 1000U}) {
            for (const std::size_t chunk : {1U, 2U, 7U, 64U, 999U, 1000U, 5000U}) {
                std::vector<int> seen(count, 0);
                std::atomic<std::size_t> wrongRanges = 0;
                forEachChunk(workers, count, chunk,
                             [&](std::size_t worker, std::size_t begin, std::size_t end) {
                                 if (worker >= workers || begin % chunk != 0 ||
                                     end != std::min(begin + chunk, count) || begin >= end) {
                                     ++wrongRanges;
                                 }
                                 for (std::size_t i = begin; i < end; ++i) {
                                     ++seen[i];
                                 }
                             });
                EXPECT_EQ(wrongRanges, 0U);
                EXPECT_EQ(seen, std::vector<int>(count, 1))
                    << workers << " workers, " << count << " in chunks of " << chunk;
            }
        }
    }
}

TEST(ForEachChunk, NeverOverlapsTheCallsOfOneWorker) {
    for (const std::size_t workers : workerCounts) {
        std::vector<std::atomic<int>> running(workers);
        std::atomic<int> overlaps = 0;
        std::mutex mutex;
        std::map<std::size_t, std::set<std::thread::id>> threadsOf;
        forEachChunk(workers, 2000, 1, [&](std::size_t worker, std::size_t, std::size_t) {
            overlaps += running[worker].fetch_add(1);
            {
                const std::scoped_lock lock(mutex);
                threadsOf[worker].insert(std::this_thread::get_id());
            }
            --running[worker];
        });
        EXPECT_EQ(overlaps, 0) << workers;
        std::set<std::thread::id> threads;
        for (const auto& [worker, ofWorker] : threadsOf) {
            EXPECT_EQ(ofWorker.size(), 1U) << "worker " << worker << " of " << workers;
            EXPECT_TRUE(threads.insert(*ofWorker.begin()).second) << "worker " << worker;
        }
    }
}

TEST(ForEachChunk, RunsAsManyWorkersAtOnceAsItIsTold) {
    constexpr std::size_t workers = 3;
    std::mutex mutex;
    std::condition_variable changed;
    std::set<std::size_t> running;
    forEachChunk(workers, workers, 1, [&](std::size_t worker, std::size_t, std::size_t) {
        std::unique_lock lock(mutex);
        running.insert(worker);
        changed.notify_all();
        // Ends as soon as all of them are here.
        changed.wait_for(lock, std::chrono::minutes(5), [&] { return running.size() == workers; });
    });
    EXPECT_EQ(running, (std::set<std::size_t>{0, 1, 2}));
}

TEST(ForEachChunk, OneWorkerIsTheCallingThread) {
    const std::thread::id caller = std::this_thread::get_id();
    std::vector<std::size_t> begins;
    forEachChunk(1, 10, 3, [&](std::size_t worker, std::size_t begin, std::size_t) {
        EXPECT_EQ(worker, 0U);
        EXPECT_EQ(std::this_thread::get_id(), caller);
        begins.push_back(begin);
    });
    EXPECT_EQ(begins, (std::vector<std::size_t>{0, 3, 6, 9}));
}

// Workers are numbered as they are started, so one of too many would soon show a high number.
TEST(ForEachChunk, StartsNoMoreWorkersThanChunks) {
    for (int repetition = 0; repetition < 100; ++repetition) {
        for (const std::size_t chunks : {1U, 2U, 3U}) {
            std::atomic<std::size_t> highest = 0;
            forEachChunk(40, chunks * 5 - 1, 5, [&](std::size_t worker, std::size_t, std::size_t) {
                std::size_t known = highest;
                while (worker > known && !highest.compare_exchange_weak(known, worker)) {
                }
            });
            ASSERT_LT(highest, chunks);
        }
    }
}

TEST(ForEachChunk, RethrowsTheExceptionOfAnyWorker) {
    for (const std::size_t workers : workerCounts) {
        for (const std::size_t bad : {0U, 50U, 99U}) {
            EXPECT_EQ(thrownText<std::runtime_error>([&] {
                          forEachChunk(
                              workers, 100, 1, [&](std::size_t, std::size_t begin, std::size_t) {
                                  if (begin == bad) {
                                      throw std::runtime_error("bad " + std::to_string(bad));
                                  }
                              });
                      }),
                      "bad " + std::to_string(bad));
        }
        EXPECT_THROW(
            forEachChunk(workers, 100, 1, [](std::size_t, std::size_t, std::size_t) { throw 7; }),
            int);
    }
}

TEST(ForEachChunk, BeginsNoChunkAfterAnException) {
    std::vector<std::size_t> begins;
    EXPECT_THROW(forEachChunk(1, 100, 10,
                              [&](std::size_t, std::size_t begin, std::size_t) {
                                  begins.push_back(begin);
                                  if (begin == 20) {
                                      throw std::runtime_error("bad");
                                  }
                              }),
                 std::runtime_error);
    EXPECT_EQ(begins, (std::vector<std::size_t>{0, 10, 20}));
    for (const std::size_t workers : workerCounts) {
        std::atomic<std::size_t> begun = 0;
        EXPECT_THROW(forEachChunk(workers, 100'000, 1,
                                  [&](std::size_t, std::size_t, std::size_t) {
                                      ++begun;
                                      throw std::runtime_error("bad");
                                  }),
                     std::runtime_error);
        EXPECT_LE(begun, workers);
    }
}

TEST(ProcessorCount, IsThatOfTheSystemAndAtLeastOne) {
    EXPECT_EQ(processorCount(), std::max(1U, std::thread::hardware_concurrency()));
}

}  // namespace
}  // namespace quillon::test
