// The groups of measurements; each adds its rows to the report.
#pragma once

#include "benchmark_data.h"
#include "report.h"

namespace quillon::bench {

/// Runs of the real program: their memory, start and end, and the largest library. Comes first, see
/// process_bench.cpp.
void benchProcess(const Settings& settings, Report& report);

/// Reading and merging a library, against the parsers alone and against trees of values.
void benchLoad(const Settings& settings, Report& report);

/// The search methods, against the index alone and against the dense form.
void benchSearch(const Settings& settings, Report& report);

/// Whole runs against a Python program that does the same; needs its packages.
void benchPython(const Settings& settings, Report& report);

/// Time by the number of blocks.
void benchGrowth(const Settings& settings, Report& report);

}  // namespace quillon::bench
