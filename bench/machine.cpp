#include "machine.h"

#include <faiss/Index.h>
#include <simdjson.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>

#include "measure.h"

#ifdef __GNUC__
// Weak, because only one BLAS among many has these functions.
extern "C" {
__attribute__((weak)) char* openblas_get_config();
__attribute__((weak)) int openblas_get_parallel();
__attribute__((weak)) int openblas_get_num_threads();
}
#endif

namespace quillon::bench {
namespace {

/// Returns the first line of the file that begins with `start`, without `start` and the separator.
std::string lineAfter(const char* file, std::string_view start) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        if (line.compare(0, start.size(), start) == 0) {
            const std::size_t value = line.find_first_not_of(" \t:", start.size());
            return value == std::string::npos ? "" : line.substr(value);
        }
    }
    return "";
}

/// Returns "123456 kB", or an empty text.
std::size_t mebibytes(const std::string& kilobytes) {
    return kilobytes.empty() ? 0 : std::stoul(kilobytes) / 1024;
}

std::string version(int major, int minor, int patch) {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

std::string compiler() {
#if defined(__clang__)
    return std::string("clang ") + __clang_version__;
#elif defined(__GNUC__)
    return std::string("g++ ") + __VERSION__;
#else
    return "";
#endif
}

std::string blas() {
#ifdef __GNUC__
    if (openblas_get_config != nullptr && openblas_get_parallel != nullptr &&
        openblas_get_num_threads != nullptr) {
        const int parallel = openblas_get_parallel();
        const char* flavour = parallel == 2 ? "OpenMP" : parallel == 1 ? "pthread" : "serial";
        return std::string(openblas_get_config()) + ", flavour " + flavour + ", " +
               std::to_string(openblas_get_num_threads()) + " threads";
    }
#endif
    return "";
}

}  // namespace

Machine describeMachine() {
    const Machine all{
        {"Processor", lineAfter("/proc/cpuinfo", "model name")},
        {"Memory", lineAfter("/proc/meminfo", "MemTotal")},
        {"System load at the start", lineAfter("/proc/loadavg", "")},
        {"Threads", std::to_string(threadCount())},
        {"Compiler", compiler()},
        {"faiss", version(FAISS_VERSION_MAJOR, FAISS_VERSION_MINOR, FAISS_VERSION_PATCH)},
        {"BLAS", blas()},
        {"simdjson", version(simdjson::SIMDJSON_VERSION_MAJOR, simdjson::SIMDJSON_VERSION_MINOR,
                             simdjson::SIMDJSON_VERSION_REVISION)},
        {"JSON library", version(NLOHMANN_JSON_VERSION_MAJOR, NLOHMANN_JSON_VERSION_MINOR,
                                 NLOHMANN_JSON_VERSION_PATCH)},
    };
    Machine known;
    for (const auto& entry : all) {
        if (!entry.second.empty()) {
            known.push_back(entry);
        }
    }
    return known;
}

std::size_t ownPeakMiB() {
    return mebibytes(lineAfter("/proc/self/status", "VmHWM"));
}

}  // namespace quillon::bench
