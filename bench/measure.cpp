#include "measure.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace quillon::bench {
namespace {

double secondsOf(const Contender& contender) {
    contender.reset();
    const auto start = std::chrono::steady_clock::now();
    contender.run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// An odd number, so that the median is one of the values.
std::size_t roundsWithin(double budgetSeconds, double roundSeconds) {
    const double wanted = budgetSeconds / std::max(roundSeconds, 1e-6);
    return static_cast<std::size_t>(std::clamp(wanted, 3.0, 51.0)) / 2 * 2 + 1;
}

}  // namespace

std::size_t threadCount() {
    return std::max(1U, std::thread::hardware_concurrency());
}

void forEachIndex(std::size_t count, const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next{0};
    std::exception_ptr failure;
    std::mutex failureMutex;
    const auto workAll = [&] {
        try {
            for (std::size_t index = next++; index < count; index = next++) {
                work(index);
            }
        } catch (...) {
            const std::scoped_lock lock(failureMutex);
            failure = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> others;
        for (std::size_t i = 1; i < threadCount(); ++i) {
            others.emplace_back(workAll);
        }
        workAll();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void require(bool isRight, const std::string& what) {
    if (!isRight) {
        throw std::runtime_error("wrong result, nothing measured: " + what);
    }
}

Comparison compare(const Contender& ours, const Contender& other, double budgetSeconds) {
    const double firstOurs = secondsOf(ours);
    const double firstOther = secondsOf(other);
    if (firstOurs + firstOther > longRoundSeconds) {
        return {firstOurs, firstOther, firstOurs / firstOther, 1};
    }
    std::vector<double> oursSeconds;
    std::vector<double> otherSeconds;
    std::vector<double> ratios;
    const std::size_t rounds = roundsWithin(budgetSeconds, firstOurs + firstOther);
    for (std::size_t round = 0; round < rounds; ++round) {
        oursSeconds.push_back(secondsOf(ours));
        otherSeconds.push_back(secondsOf(other));
        ratios.push_back(oursSeconds.back() / otherSeconds.back());
    }
    return {median(oursSeconds), median(otherSeconds), median(ratios), rounds};
}

Timing timeOf(const Contender& ours, double budgetSeconds) {
    const double first = secondsOf(ours);
    if (first > longRoundSeconds) {
        return {first, 1};
    }
    std::vector<double> seconds;
    const std::size_t rounds = roundsWithin(budgetSeconds, first);
    for (std::size_t round = 0; round < rounds; ++round) {
        seconds.push_back(secondsOf(ours));
    }
    return {median(seconds), rounds};
}

}  // namespace quillon::bench
