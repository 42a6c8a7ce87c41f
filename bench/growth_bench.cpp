// Time by the number of blocks: loads and searches.
#include <string>
#include <utility>
#include <vector>

#include "groups.h"
#include "made_up_blocks.h"
#include "measure.h"
#include "search/adaptive.h"
#include "search/single_side.h"

namespace quillon::bench {
namespace {

void add(const char* operation, std::size_t blocks, const Timing& time, Report& report) {
    Row row{std::string("growth/") + operation + "/" + std::to_string(blocks), "time", "s"};
    row.value = time.seconds;
    row.oursSeconds = time.seconds;
    row.rounds = time.rounds;
    report.add(std::move(row));
}

void growthOfLoad(const char* operation, const LibrarySpec& spec, const Settings& settings,
                  Report& report) {
    const DiskLibrary library(spec, settings);
    BlockLibrary loaded;
    const Timing time = timeOf(
        {[&] { loaded = loadQuietly(library.files, true); }, [&] { loaded = BlockLibrary(); }},
        budgetSeconds(settings, 5.0));
    require(loaded.counters.totalBlocks == spec.blocks, "blocks of a library");
    add(operation, spec.blocks, time, report);
}

void growthOfSearch(std::size_t blocks, const Settings& settings, Report& report) {
    const SearchData data = makeSearchData(blocks);
    std::vector<SearchResult> hits;
    add("byShape", blocks,
        timeOf({[&] {
                   hits.clear();
                   searchByShape(5, data.queryShape, data.shapeMatrix, 0.2F, hits);
               }},
               budgetSeconds(settings, 5.0)),
        report);
    add("adaptive", blocks,
        timeOf({[&] {
                   hits.clear();
                   searchAdaptive(5, data.queryShape, data.queryText, data.shapeMatrix,
                                  data.textMatrix, 0.3F, hits);
               }},
               budgetSeconds(settings, 5.0)),
        report);
}

}  // namespace

void benchGrowth(const Settings& settings, Report& report) {
    std::vector<std::size_t> sizes{1000, 3000, 10000};
    if (settings.full) {
        sizes.insert(sizes.end(), {30000, 100000, 300000, 1000000});
    }
    for (const std::size_t blocks : sizes) {
        growthOfLoad("loadJson", {".json", blocks, blocks / 50}, settings, report);
        growthOfLoad("loadCbor", {".cbor", blocks, blocks / 50}, settings, report);
        growthOfSearch(blocks, settings, report);
    }
}

}  // namespace quillon::bench
