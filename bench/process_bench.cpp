// Runs of the real program. On some systems a new process inherits the peak memory of the process
// that starts it. So this group runs before the groups that keep libraries in memory.

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "documents/json_file.h"
#include "groups.h"
#include "machine.h"
#include "measure.h"
#include "output/result_document.h"
#include "shared/utf8_path.h"
#include "support/formats.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::bench {
namespace {

constexpr double bytesPerMiB = 1024.0 * 1024.0;
constexpr std::size_t rowBytes = (shapeWidth + textWidth) * sizeof(float);

struct Run {
    std::string out{};
    double seconds = 0.0;
    double peakBytes = 0.0;
    std::size_t uniqueRows = 0;
};

std::size_t numberAfter(const std::string& text, const std::string& label) {
    const std::size_t at = text.find(label);
    require(at != std::string::npos, "no \"" + label + "\" in: " + text);
    return std::stoul(text.substr(at + label.size()));
}

Run runQuery(const std::filesystem::path& list, const std::filesystem::path& query,
             const char* method, int expectedStatus) {
    const test::TempFolder folder;
    const auto start = std::chrono::steady_clock::now();
    const test::ProgramResult result = test::runProgram(
        {"/filelist", utf8FromPath(list), "/encode", utf8FromPath(query), "/output",
         utf8FromPath(folder.path() / "result.json"), "/method", method},
        folder.path());
    const auto end = std::chrono::steady_clock::now();
    require(result.status == expectedStatus, result.out + result.error);
    Run run{result.out, std::chrono::duration<double>(end - start).count()};
    run.peakBytes = static_cast<double>(result.peakMiB) * bytesPerMiB;
    run.uniqueRows = numberAfter(result.out, "unique blocks: ");
    return run;
}

void requireOwnPeakBelow(const Run& run) {
    require(static_cast<double>(ownPeakMiB()) * bytesPerMiB < run.peakBytes,
            "this process has held more than the program; measure the process group on its own");
}

std::string mebibytes(double bytes) {
    return std::to_string(static_cast<int>(bytes / bytesPerMiB)) + " MiB";
}

/// Peak memory of a run, divided by the size of the two matrices.
Row peakRow(const std::string& name, const char* measure, const Run& run,
            const std::optional<Goal>& goal) {
    requireOwnPeakBelow(run);
    const auto matrixBytes = static_cast<double>(run.uniqueRows * rowBytes);
    Row row{name, measure, "x"};
    row.value = run.peakBytes / matrixBytes;
    row.goal = goal;
    row.oursSeconds = run.seconds;
    row.note = mebibytes(run.peakBytes) + " for " + mebibytes(matrixBytes) + " of matrices";
    return row;
}

void peakOfLoad(const LibrarySpec& spec, const Settings& settings, Report& report) {
    const DiskLibrary library(spec, settings);
    const Run run = runQuery(library.files.list, library.files.narrowQuery, "simple", 1);
    report.add(peakRow("peakOfLoad/" + spec.extension.substr(1) + "/" + sizeName(spec),
                       "peak memory of a load / the two matrices", run,
                       goalIf(settings.full, {1.35, 1.15})));
}

void peaksOfRuns(const LibrarySpec& spec, const Settings& settings, Report& report) {
    const DiskLibrary library(spec, settings);
    for (const char* method : {"adaptive", "shape", "text", "simple"}) {
        const Run run = runQuery(library.files.list, library.files.query, method, 0);
        report.add(peakRow("peakOfRun/" + std::string(method) + "/" + sizeName(spec),
                           "peak memory of a whole run / the two matrices", run,
                           goalIf(settings.full, {1.25, 1.12})));
    }
}

void largestLibrary(const LibrarySpec& spec, const Settings& settings, Report& report) {
    const DiskLibrary library(spec, settings);
    for (const char* method : {"shape", "adaptive"}) {
        const Run run = runQuery(library.files.list, library.files.query, method, 0);
        requireOwnPeakBelow(run);
        const std::string name = "/cbor/" + std::string(method) + "/" + sizeName(spec);
        const std::string note =
            std::to_string(numberAfter(run.out, "Create index time: ")) + " ms of it the load, " +
            std::to_string(library.encodingsBytes / 1000000) + " MB of files, " +
            std::to_string(run.uniqueRows) + " unique blocks";
        Row time{"wholeRun" + name, "wall clock of a whole run", "s"};
        time.value = run.seconds;
        time.oursSeconds = run.seconds;
        time.note = note;
        Row peak{"peakOfRun" + name, "peak memory of a whole run / the two matrices", "x"};
        peak.value = run.peakBytes / static_cast<double>(run.uniqueRows * rowBytes);
        peak.oursSeconds = run.seconds;
        peak.note = mebibytes(run.peakBytes);
        if (settings.full && method == std::string("adaptive")) {
            time.goal = Goal{180.0, 60.0};
            peak.goal = Goal{1.6, 1.2};
        }
        report.add(std::move(time));
        report.add(std::move(peak));
    }
}

void smallestRun(const Settings& settings, Report& report) {
    const LibrarySpec spec{".json", 200, 20};
    const DiskLibrary library(spec, settings);
    const Timing time =
        timeOf({[&] { runQuery(library.files.list, library.files.query, "adaptive", 0); }},
               budgetSeconds(settings));
    Row row{"wholeRun/json/" + sizeName(spec), "wall clock of a whole run with /method adaptive",
            "ms"};
    row.value = time.seconds * 1000.0;
    row.goal = Goal{20.0, 12.0};
    row.oursSeconds = time.seconds;
    row.rounds = time.rounds;
    row.note = "with the shell that starts it and the folders of its files";
    report.add(std::move(row));
}

void manyHits(const Settings& settings, Report& report) {
    constexpr std::size_t hitCount = 100000;
    constexpr std::size_t drawings = 2000;
    std::vector<BlockRecord> records;
    std::vector<SearchResult> hits;
    std::shared_ptr<const std::filesystem::path> path;
    for (std::size_t i = 0; i < hitCount; ++i) {
        if (i % (hitCount / drawings) == 0) {
            path = std::make_shared<const std::filesystem::path>(
                "/plans/.blocksMetadata/7f/drawing-" + std::to_string(i) + ".dwg/encodings.json");
        }
        records.push_back({path, "DOOR_" + std::to_string(i) + "*09F2A6C1D3E4B587*2FA"});
        hits.push_back(
            {static_cast<std::int64_t>(i), 1.0F / static_cast<float>(i + 1), 0.6F, 0.4F});
    }
    const test::TempFolder folder;
    const Timing time = timeOf({[&] {
                                   writeJsonFile(buildResultDocument(hits, records, {}),
                                                 folder.path() / "result.json", false);
                               }},
                               budgetSeconds(settings));
    const nlohmann::json document = readJsonFile(folder.path() / "result.json");
    require(document["blocks"].size() == hitCount, "hits in the result file");
    Row row{"writeHits/json/" + std::to_string(hitCount), "building and writing the result", "s"};
    row.value = time.seconds;
    row.goal = Goal{1.0, 0.5};
    row.oursSeconds = time.seconds;
    row.rounds = time.rounds;
    row.note = std::to_string(drawings) + " drawings";
    report.add(std::move(row));
}

}  // namespace

void benchProcess(const Settings& settings, Report& report) {
    const std::size_t blocks = settings.full ? 100000 : 5000;
    smallestRun(settings, report);
    for (const char* extension : test::allExtensions) {
        peakOfLoad({extension, blocks, blocks / 50}, settings, report);
    }
    const std::size_t many = blocks * (settings.full ? 10 : 2);
    largestLibrary({".cbor", many, many / 50}, settings, report);
    peaksOfRuns({".cbor", blocks, blocks / 50}, settings, report);
    manyHits(settings, report);
}

}  // namespace quillon::bench
