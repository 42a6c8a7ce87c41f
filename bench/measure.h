// Measures the times of two contenders in turns, so that a disturbance affects both.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace quillon::bench {

/// The number of threads of the tool and of everything that it is compared with.
std::size_t threadCount();

/// Calls `work` with 0 to `count` - 1 on `threadCount()` threads. The next free thread gets the
/// next index. Throws the first exception of `work`.
void forEachIndex(std::size_t count, const std::function<void(std::size_t)>& work);

/// Throws std::runtime_error with `what` if a result is wrong, because its time would mean nothing.
void require(bool isRight, const std::string& what);

/// The function that is timed, and one that is called before without being timed, for example to
/// free the last result.
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

/// Runs both once without measuring, then ours, other, ours, other and so on for about
/// `budgetSeconds`, at least 3 and at most 51 rounds. If a round takes longer than
/// `longRoundSeconds`, only the first round is run and measured.
Comparison compare(const Contender& ours, const Contender& other, double budgetSeconds);
inline constexpr double longRoundSeconds = 120.0;

struct Timing {
    double seconds = 0.0;  // the median
    std::size_t rounds = 0;
};

/// Measures one contender in the same way.
Timing timeOf(const Contender& ours, double budgetSeconds);

}  // namespace quillon::bench
