// Reading and merging a library, beside parsers that build nothing of it and beside trees of
// values.
#include <simdjson.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "documents/json_file.h"
#include "groups.h"
#include "limit.h"
#include "measure.h"
#include "reference/tree_load.h"
#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace quillon::bench {
namespace {

using nlohmann::json;

bool sameMatrix(const FeatureMatrix& a, const FeatureMatrix& b) {
    return a.shape() == b.shape() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

bool sameLibrary(const BlockLibrary& a, const BlockLibrary& b) {
    return a.counters.totalBlocks == b.counters.totalBlocks &&
           a.counters.uniqueBlocks == b.counters.uniqueBlocks &&
           std::equal(a.records.begin(), a.records.end(), b.records.begin(), b.records.end(),
                      [](const BlockRecord& x, const BlockRecord& y) {
                          return x.blockKey == y.blockKey && *x.encodingsPath == *y.encodingsPath;
                      }) &&
           sameMatrix(a.shapeMatrix, b.shapeMatrix) && sameMatrix(a.textMatrix, b.textMatrix);
}

BlockLibrary loadAsTrees(const LibraryFiles& files) {
    const test::ConsoleCapture console;
    BlockLibrary library;
    reference::loadBlockLibrary(files.list, true, true, library,
                                static_cast<unsigned>(threadCount()));
    return library;
}

/// Parses everything to simdjson's own tree, a parser per thread as in the tool.
void parseAll(const std::vector<FileBytes>& all) {
    forEachIndex(threadCount(), [&](std::size_t thread) {
        simdjson::dom::parser parser;
        for (std::size_t i = thread; i < all.size(); i += threadCount()) {
            const auto root = parser.parse(all[i].padded.data(), all[i].size, false);
            require(root.error() == simdjson::SUCCESS, "simdjson rejects a file");
        }
    });
}

/// One library in one format, and the rows that it gives.
class LoadBench {
  public:
    LoadBench(const LibrarySpec& librarySpec, const Settings& settings, Report& rows)
        : spec(librarySpec),
          library(spec, settings),
          isFull(settings.full),
          budget(budgetSeconds(settings)),
          report(rows) {
        require(sameLibrary(loadQuietly(library.files, true), loadAsTrees(library.files)),
                "loaded " + spec.extension + " library");
    }

    void againstSimdjson() {
        const std::vector<FileBytes> all = readEncodings(library.files);
        add("simdjson", "load / simdjson parsing the same bytes in memory",
            compare(ours(true), {[&] { parseAll(all); }}, budget), {1.2, 0.9});
    }

    /// `numberBytes` is what a number takes in the files.
    void againstLimit(std::size_t numberBytes, const Goal& goal) {
        againstLimitOf(library, numberBytes, goal);
    }

    /// The limit of another library, with as many blocks.
    void againstLimitOf(const DiskLibrary& other, std::size_t numberBytes, const Goal& goal) {
        const std::vector<std::filesystem::path> files = listedFiles(other.files);
        std::vector<MovedRows> moved;
        const Contender limit{[&] { moved = loadAtTheLimit(files, numberBytes); },
                              [&] { moved.clear(); }};
        limit.run();
        std::size_t blocks = 0;
        for (const MovedRows& rows : moved) {
            blocks += rows.shapes.rowCount();
        }
        require(blocks == spec.blocks, "blocks of the limit");
        limit.reset();
        add("limit", "load / reading the files and moving their floats",
            compare(ours(true), limit, budget), goal);
    }

    void againstTrees(Goal goal) {
        BlockLibrary trees;
        Comparison times = compare(
            ours(true), {[&] { trees = loadAsTrees(library.files); }, [&] { trees = {}; }}, budget);
        times.ratio = 1.0 / times.ratio;
        goal.atLeast = true;
        add("trees", "load by trees of values / load", times, goal);
    }

    void againstOneThread() {
        Comparison times = compare(ours(true), ours(false), budget);
        times.ratio = 1.0 / times.ratio;
        add("oneAtATime", "load with /no-parallel-load / load", times, {1.8, 1.9, true});
    }

  private:
    Contender ours(bool parallelLoad) {
        return {[this, parallelLoad] { loaded = loadQuietly(library.files, parallelLoad); },
                [this] { loaded = {}; }};
    }

    void add(const char* variant, const char* measure, const Comparison& times, const Goal& goal) {
        const auto bytes = static_cast<double>(library.encodingsBytes);
        const auto blocks = static_cast<double>(spec.blocks);
        Row row{"load/" + spec.extension.substr(1) + "/" + variant + "/" + sizeName(spec), measure,
                "x"};
        row.value = times.ratio;
        if (isFull) {
            row.goal = goal;
        }
        row.oursSeconds = times.oursSeconds;
        row.otherSeconds = times.otherSeconds;
        row.rounds = times.rounds;
        row.note = std::to_string(static_cast<int>(bytes / blocks)) + " bytes a block, " +
                   std::to_string(static_cast<int>(bytes / 1e6 / times.oursSeconds)) + " MB/s, " +
                   std::to_string(static_cast<int>(blocks / times.oursSeconds)) + " blocks/s";
        report.add(std::move(row));
    }

    LibrarySpec spec;
    DiskLibrary library;
    bool isFull;
    double budget;  // seconds
    Report& report;
    BlockLibrary loaded;
};

/// A whole run by shape, from the start of the process on.
void largestAgainstLimit(const LibrarySpec& spec, const Settings& settings, Report& report) {
    const DiskLibrary library(spec, settings);
    const test::TempFolder folder;
    const Contender ours{[&] {
        const test::ProgramResult result =
            test::runProgram({"/filelist", utf8FromPath(library.files.list), "/encode",
                              utf8FromPath(library.files.query), "/output",
                              utf8FromPath(folder.path() / "result.json"), "/method", "shape"},
                             folder.path());
        require(result.status == 0, result.out + result.error);
    }};
    const std::string command =
        QUILLON_LIMIT " '" + utf8FromPath(library.files.list) + "' " + std::to_string(spec.blocks);
    const Contender limit{
        [&] { require(std::system(command.c_str()) == 0, "the program of the limit fails"); }};
    const Comparison times = compare(ours, limit, budgetSeconds(settings, 60.0));
    Row row{"wholeRun/cbor/limit/" + sizeName(spec),
            "whole run by shape / a process that reads the files and moves their floats", "x"};
    row.value = times.ratio;
    if (settings.full) {
        row.goal = Goal{2.5, 1.8};
    }
    row.oursSeconds = times.oursSeconds;
    row.otherSeconds = times.otherSeconds;
    row.rounds = times.rounds;
    row.note = std::to_string(library.encodingsBytes / 1000000) + " MB of files";
    report.add(std::move(row));
}

#ifdef QUILLON_SLOW_SHARE

/// Runs of the program that end after the load: with every call on an encodings file delayed, and
/// without.
void shareAgainstLocal(const LibrarySpec& spec, const Settings& settings, Report& report) {
    const DiskLibrary library(spec, settings);
    const test::TempFolder folder;
    const auto runOfLoad = [&](const std::vector<std::string>& launcher) {
        return Contender{[&library, &folder, launcher] {
            const test::ProgramResult result =
                test::runProgram({"/filelist", utf8FromPath(library.files.list), "/encode",
                                  utf8FromPath(library.files.narrowQuery), "/output",
                                  utf8FromPath(folder.path() / "result.json"), "/method", "simple"},
                                 folder.path(), launcher);
            require(result.status == 1 && result.error.empty(), result.out + result.error);
        }};
    };
    const Comparison times = compare(runOfLoad({"env", "LD_PRELOAD=" QUILLON_SLOW_SHARE}),
                                     runOfLoad({}), budgetSeconds(settings));
    Row row{"load/share/cbor/" + sizeName(spec),
            "load with 2 ms for each open, size, read and close of a file / load", "x"};
    row.value = times.ratio;
    row.goal = goalIf(settings.full, {2.5, 1.5});
    row.oursSeconds = times.oursSeconds;
    row.otherSeconds = times.otherSeconds;
    row.rounds = times.rounds;
    row.note = std::to_string(library.encodingsBytes / 1000000) + " MB of files";
    report.add(std::move(row));
}

#endif

}  // namespace

void benchLoad(const Settings& settings, Report& report) {
    const std::size_t blocks = settings.full ? 20000 : 2000;
    {
        LoadBench json({".json", blocks, blocks / 50}, settings, report);
        json.againstSimdjson();
        json.againstTrees({4.0, 6.0});
        json.againstOneThread();
    }
    for (const char* extension : {".cbor", ".msgpack"}) {
        LoadBench bench({extension, blocks, blocks / 50}, settings, report);
        bench.againstLimit(4, {2.0, 1.4});
        bench.againstOneThread();
    }
    LoadBench({".cbor", blocks, blocks / 50, Numbers::wide}, settings, report)
        .againstLimit(8, {2.2, 1.6});
    {
        // Where numbers have several sizes, only a reader knows where they are. As many are moved.
        const DiskLibrary single({".cbor", blocks, blocks / 50}, settings);
        LoadBench({".cbor", blocks, blocks / 50, Numbers::shortened}, settings, report)
            .againstLimitOf(single, 4, {3.0, 2.0});
    }
    for (const char* extension : {".bson", ".ubj", ".jdb"}) {
        LoadBench bench({extension, blocks, blocks / 50}, settings, report);
        bench.againstTrees({2.0, 3.0});
    }
#ifdef QUILLON_SLOW_SHARE
    shareAgainstLocal({".cbor", settings.full ? 100000U : 4000U, settings.full ? 2000U : 80U},
                      settings, report);
#endif
    largestAgainstLimit({".cbor", settings.full ? 1000000U : 4000U, settings.full ? 20000U : 80U},
                        settings, report);
}

}  // namespace quillon::bench
