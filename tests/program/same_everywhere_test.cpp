// The same result bytes for every number of threads and every kernel of the BLAS that this
// processor can run. It must hold everywhere: products only propose, see
// search/neighbours/distance_bounds.h.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/formats.h"
#include "support/random_library.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

/// Kernels of OpenBLAS that run here; any x86-64 processor has the first.
std::vector<std::string> runnableKernels() {
#ifdef _WIN32  // whose BLAS has three; the first goes by the name of the oldest processor for it
    std::vector<std::string> kernels{"Katmai"};
    constexpr bool hasAll = false;
#else
    std::vector<std::string> kernels{"Nehalem"};
    constexpr bool hasAll = true;
#endif
#if defined(__x86_64__)
    if (hasAll && __builtin_cpu_supports("avx") != 0) {
        kernels.emplace_back("Sandybridge");
    }
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0) {
        kernels.emplace_back("Haswell");
        if (hasAll) {
            kernels.emplace_back("Zen");
        }
    }
    if (__builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
        __builtin_cpu_supports("avx512bw") != 0) {
        kernels.emplace_back("SkylakeX");
    }
#endif
    return kernels;
}

/// Runs the query under every thread count and kernel and returns the one result they all leave.
std::string resultEverywhere(const std::filesystem::path& folder, const std::string& query,
                             const std::string& topK) {
    std::map<std::string, std::string> settingsOf;  // by result
    for (const std::string& kernel : runnableKernels()) {
        for (const std::string threads : {"1", "2", "7"}) {
            const TempFolder output;
            const ProgramResult result = runProgram(
                {"/filelist", "filelist.json", "/encode", query, "/output",
                 utf8FromPath(output.path() / "result.json"), "/topk", topK, "/min", "0.05"},
                folder,
                {"env", "OMP_NUM_THREADS=" + threads, "OPENBLAS_CORETYPE=" + kernel,
                 "OPENBLAS_VERBOSE=2"});
            EXPECT_EQ(result.status, 0) << result.out;
            // Shows that the kernel was in force.
            EXPECT_EQ(result.error, "Core: " + kernel + "\n");
            settingsOf[readBytes(output.path() / "result.json")] += kernel + "/" + threads + " ";
        }
    }
    EXPECT_EQ(settingsOf.size(), 1U) << settingsOf.begin()->second << "differ from the others";
    return settingsOf.begin()->first;
}

TEST(SameEverywhere, SampleDrawings) {
    const auto folder = std::filesystem::path(QUILLON_SOURCE_DIR) / "examples/drawings";
    for (const char* query : {"1-door-23-3", "2-npn", "3-arbre11"}) {
        const std::string result =
            resultEverywhere(folder, std::string("queries/") + query + ".json", "10");
        EXPECT_EQ(nlohmann::json::parse(result).at("blocks").size(), 10U) << query;
    }
}

nlohmann::json rowOf(const FeatureMatrix& matrix, std::size_t row) {
    const float* first = matrix.data() + row * matrix.shape(1);
    return std::vector<float>(first, first + matrix.shape(1));
}

/// The library as an encodings document, no two blocks with one code.
nlohmann::json drawing(const RandomLibrary& library, std::size_t& codes) {
    nlohmann::json document = encodings({});
    for (std::size_t row = 0; row < library.shapeMatrix.shape(0); ++row) {
        const std::string number = std::to_string(++codes);
        document["blocks"].push_back("block" + number + "*code" + number + "*A" + number);
        document["shape"].push_back(rowOf(library.shapeMatrix, row));
        document["text"].push_back(rowOf(library.textMatrix, row));
    }
    return document;
}

// Copies and near copies are where rounding decides who is nearer. 3,000 blocks by both ways: few
// hits of the rows that count, many of all rows.
TEST(SameEverywhere, LibraryFullOfCopies) {
    const TempFolder folder;
    const RandomLibrary near =
        makeRandomLibrary(LibraryKind::nearTwins, LibraryKind::oneCommon, 1000, 1);
    const RandomLibrary common =
        makeRandomLibrary(LibraryKind::oneCommon, LibraryKind::clustered, 1000, 2);
    const RandomLibrary clustered =
        makeRandomLibrary(LibraryKind::clustered, LibraryKind::nearTwins, 1000, 3);
    std::vector<std::string> files;
    std::size_t codes = 0;
    for (const RandomLibrary* library : {&near, &common, &clustered}) {
        const std::string name = std::to_string(codes) + ".cbor";
        folder.write(name, encoded(drawing(*library, codes), ".cbor"));
        files.push_back(name);
    }
    folder.write("filelist.json", listDocument(files));
    folder.write("query.json",
                 nlohmann::json({{"shape", nlohmann::json::array({rowOf(near.queryShape, 0)})},
                                 {"text", nlohmann::json::array({rowOf(near.queryText, 0)})},
                                 {"queryText", nlohmann::json::array({"Door"})}}));
    for (const char* topK : {"5", "400"}) {
        const std::string result = resultEverywhere(folder.path(), "query.json", topK);
        EXPECT_GT(nlohmann::json::parse(result).at("blocks").size(), 4U) << topK;
    }
}

}  // namespace
}  // namespace quillon::test
