// Timing: two contenders in turns within one process, so that what disturbs one disturbs the other.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace quillon::bench {

/// How many threads the tool uses, and everything that it is compared with.
std::size_t threadCount();

/// Calls `work` with 0 to `count` - 1 on `threadCount()` threads, the next index to whoever is
/// free. The first exception ends the process' run as if `work` had been called here.
void forEachIndex(std::size_t count, const std::function<void(std::size_t)>& work);

/// Throws std::runtime_error that names `what` when a result is wrong: times of wrong results mean
/// nothing.
void require(bool isRight, const std::string& what);

/// What is timed, and what is done before each time without being timed: freeing the last result.
struct Contender {
    std::function<void()> run;
    std::function<void()> reset = [] {};
};

struct Comparison {
    double oursSeconds = 0.0;  // medians
    double otherSeconds = 0.0;
    double ratio = 0.0;  // the median of ours / other within a round
    std::size_t rounds = 0;
};

/// Runs both once without counting, then ours, other, ours, other ... for about `budgetSeconds`, 3
/// rounds at least and 51 at most. When a round takes longer than `longRoundSeconds`, the first one
/// counts and is the only one.
Comparison compare(const Contender& ours, const Contender& other, double budgetSeconds);
inline constexpr double longRoundSeconds = 120.0;

struct Timing {
    double seconds = 0.0;  // the median
    std::size_t rounds = 0;
};

/// The same with one contender.
Timing timeOf(const Contender& ours, double budgetSeconds);

}  // namespace quillon::bench
