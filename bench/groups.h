// The groups of measurements. Each adds its rows to the report.
#pragma once

#include "benchmark_data.h"
#include "report.h"

namespace quillon::bench {

/// Runs of the real program: their memory, start and end, and the largest library. Comes first, see
/// process_bench.cpp.
void benchProcess(const Settings& settings, Report& report);

/// Loads of a library, compared with the parsers alone and with loads by trees of values.
void benchLoad(const Settings& settings, Report& report);

/// The search methods, compared with faiss and with the dense form.
void benchSearch(const Settings& settings, Report& report);

/// Whole runs, compared with a Python program that does the same. Needs its packages.
void benchPython(const Settings& settings, Report& report);

/// Time by the number of blocks.
void benchGrowth(const Settings& settings, Report& report);

}  // namespace quillon::bench
