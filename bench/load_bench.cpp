// Reading and merging a library, beside parsers that build nothing of it and beside trees of
// values.
#include <simdjson.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>

#include "documents/json_file.h"
#include "groups.h"
#include "measure.h"
#include "reference/tree_load.h"
#include "support/console_capture.h"

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

/// The event interface of the JSON library's parsers, with nothing behind it.
struct IgnoredEvents {
    bool null() { return true; }
    bool boolean(bool /*value*/) { return true; }
    bool number_integer(json::number_integer_t /*value*/) { return true; }
    bool number_unsigned(json::number_unsigned_t /*value*/) { return true; }
    bool number_float(json::number_float_t /*value*/, const std::string& /*text*/) { return true; }
    bool string(std::string& /*value*/) { return true; }
    bool binary(json::binary_t& /*value*/) { return true; }
    bool key(std::string& /*name*/) { return true; }
    bool start_object(std::size_t /*size*/) { return true; }
    bool start_array(std::size_t /*size*/) { return true; }
    bool end_object() { return true; }
    bool end_array() { return true; }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const json::exception& /*error*/) {
        return false;
    }
};

void walkAll(const std::vector<FileBytes>& all, json::input_format_t format) {
    forEachIndex(all.size(), [&](std::size_t i) {
        IgnoredEvents events;
        const char* begin = all[i].padded.data();
        require(json::sax_parse(begin, begin + all[i].size, &events, format),
                "the JSON library rejects a file");
    });
}

/// One library in one format, and the rows that it gives.
class LoadBench {
  public:
    LoadBench(const LibrarySpec& librarySpec, const Settings& settings, Report& rows)
        : spec(librarySpec), library(spec, settings), isFull(settings.full), report(rows) {
        require(sameLibrary(loadQuietly(library.files, true), loadAsTrees(library.files)),
                "loaded " + spec.extension + " library");
    }

    void againstSimdjson() {
        const std::vector<FileBytes> all = readEncodings(library.files);
        add("simdjson", "load / simdjson parsing the same bytes in memory",
            compare(ours(true), {[&] { parseAll(all); }}), {1.6, 1.2});
    }

    void againstWalk() {
        const std::vector<FileBytes> all = readEncodings(library.files);
        const auto format = *documentFormat("x" + spec.extension);
        add("walk", "load / the JSON library's event pass over the same bytes in memory",
            compare(ours(true), {[&] { walkAll(all, format); }}), {1.5, 1.2});
    }

    void againstTrees(Goal goal) {
        BlockLibrary trees;
        Comparison times =
            compare(ours(true), {[&] { trees = loadAsTrees(library.files); }, [&] { trees = {}; }});
        times.ratio = 1.0 / times.ratio;
        goal.atLeast = true;
        add("trees", "load by trees of values / load", times, goal);
    }

    void againstOneThread() {
        Comparison times = compare(ours(true), ours(false));
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
    Report& report;
    BlockLibrary loaded;
};

}  // namespace

void benchLoad(const Settings& settings, Report& report) {
    const std::size_t blocks = settings.full ? 20000 : 4000;
    {
        LoadBench json({".json", blocks, blocks / 50}, settings, report);
        json.againstSimdjson();
        json.againstTrees({4.0, 6.0});
        json.againstOneThread();
    }
    for (const char* extension : {".cbor", ".msgpack"}) {
        LoadBench bench({extension, blocks, blocks / 50}, settings, report);
        bench.againstWalk();
        bench.againstOneThread();
    }
    for (const char* extension : {".bson", ".ubj", ".jdb"}) {
        LoadBench bench({extension, blocks, blocks / 50}, settings, report);
        bench.againstTrees({2.0, 3.0});
    }
}

}  // namespace quillon::bench
