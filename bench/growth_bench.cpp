// Time by the number of blocks: loads, searches, and how many rows Adaptive looks at more closely.
#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "groups.h"
#include "made_up_blocks.h"
#include "measure.h"
#include "search/adaptive.h"
#include "search/neighbours/crowds.h"
#include "search/refined_scores.h"
#include "search/single_side.h"

namespace quillon::bench {
namespace {

void addCount(const char* operation, std::size_t blocks, std::size_t count, Report& report) {
    Row row{std::string("growth/") + operation + "/" + std::to_string(blocks), "rows", ""};
    row.value = static_cast<double>(count);
    report.add(std::move(row));
}

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

/// How many rows Adaptive looks at more closely, up to where it settles scores.
void rowsThatCount(const SearchData& data, Report& report) {
    WeightedSides weighted = nothingWeighed(stackRows(data.queryShape, data.shapeMatrix),
                                            stackRows(data.queryText, data.textMatrix));
    const Reaches reaches{reachesOfNeighbourhoods(weighted.sides[0].lists.side),
                          reachesOfNeighbourhoods(weighted.sides[1].lists.side)};
    const RefinedScores refined = refineByNeighbours(weighted, reaches, 5);
    std::set<quillon::Row> listed;
    std::set<quillon::Row> mayShare;
    for (std::size_t s = 0; s < weighted.sides.size(); ++s) {
        listed.insert(weighted.sides[s].lists.listed.begin(), weighted.sides[s].lists.listed.end());
        for (const PossibleList& possible : refined.sharers[s].possible) {
            mayShare.insert(possible.row);
        }
    }
    mayShare.insert(listed.begin(), listed.end());
    const std::size_t blocks = data.shapeMatrix.shape(0);
    addCount("rowsThatMayShare", blocks, mayShare.size(), report);
    addCount("rowsListed", blocks, listed.size(), report);
    const auto mayBeHits = std::count_if(refined.scores.begin(), refined.scores.end(),
                                         [](float score) { return score >= 0.3F; });
    addCount("rowsThatMayBeHits", blocks, static_cast<std::size_t>(mayBeHits), report);
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
    rowsThatCount(data, report);
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
