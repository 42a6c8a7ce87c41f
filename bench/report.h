// The results of the benchmarks: rows, printed as one table and written as one JSON document.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "machine.h"

namespace quillon::bench {

/// Limits of a row's value: upper limits, or lower limits with `atLeast`.
struct Goal {
    double must;
    double aim;
    bool atLeast = false;
};

/// Returns the goal if it is set for this size.
inline std::optional<Goal> goalIf(bool isFull, const Goal& goal) {
    return isFull ? std::optional(goal) : std::nullopt;
}

struct Row {
    std::string name{};     // operation/variant/size
    std::string measure{};  // description of the value
    std::string unit{};     // "x" for a ratio
    double value = 0.0;
    /// Only for the size that the goal is set for.
    std::optional<Goal> goal{};
    double oursSeconds = 0.0;
    double otherSeconds = 0.0;  // 0 without a comparison
    std::size_t rounds = 1;
    std::string note{};
};

class Report {
  public:
    /// Prints the progress on the standard error stream.
    void add(Row row);

    void printTable(std::ostream& out, const Machine& machine) const;
    void writeJson(const std::filesystem::path& path, const Machine& machine) const;

  private:
    std::vector<Row> rows;
};

}  // namespace quillon::bench
