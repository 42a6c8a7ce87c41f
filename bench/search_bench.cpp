#include <faiss/IndexFlat.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <limits>

#include "dense_search.h"
#include "groups.h"
#include "machine.h"
#include "made_up_blocks.h"
#include "measure.h"
#include "reference/dense_adaptive.h"
#include "search/adaptive.h"
#include "search/neighbour_lists.h"
#include "search/single_side.h"

namespace quillon::bench {
namespace {

using Label = faiss::Index::idx_t;

constexpr std::size_t selfJoinNeighbours = 101;

std::vector<SearchResult> adaptive(const SearchData& data, std::size_t k) {
    std::vector<SearchResult> hits;
    searchAdaptive(static_cast<std::uint32_t>(k), data.queryShape, data.queryText, data.shapeMatrix,
                   data.textMatrix, 0.3F, hits);
    return hits;
}

/// The index's own self-join of one side: the query's row, then the library's.
struct SelfJoin {
    SelfJoin(const FeatureMatrix& query, const FeatureMatrix& matrix)
        : rows(matrix.shape(0) + 1),
          width(matrix.shape(1)),
          stacked(query.begin(), query.end()),
          distances(rows * selfJoinNeighbours),
          labels(rows * selfJoinNeighbours) {
        stacked.insert(stacked.end(), matrix.begin(), matrix.end());
    }

    void run() {
        faiss::IndexFlatL2 index(static_cast<Label>(width));
        index.add(static_cast<Label>(rows), stacked.data());
        index.search(static_cast<Label>(rows), stacked.data(), selfJoinNeighbours, distances.data(),
                     labels.data());
    }

    bool agreesWith(const NeighbourLists& lists) const {
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t n = 0; n < lists.count; ++n) {
                if (lists.list(row)[n] != labels[row * selfJoinNeighbours + n + 1]) {
                    return false;
                }
            }
        }
        return lists.rows == rows;
    }

    std::size_t rows;
    std::size_t width;
    std::vector<float> stacked;
    std::vector<float> distances;
    std::vector<Label> labels;
};

bool sameHits(const std::vector<SearchResult>& a, const std::vector<SearchResult>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const SearchResult& x, const SearchResult& y) {
                          return x.index == y.index && x.distOrScore == y.distOrScore &&
                                 x.shapeWeight == y.shapeWeight && x.textWeight == y.textWeight;
                      });
}

Row comparisonRow(const std::string& name, const char* measure, const Comparison& times,
                  const std::optional<Goal>& goal) {
    Row row{name, measure, "x"};
    row.value = times.ratio;
    row.goal = goal;
    row.oursSeconds = times.oursSeconds;
    row.otherSeconds = times.otherSeconds;
    row.rounds = times.rounds;
    return row;
}

std::optional<Goal> goalIf(bool isFull, const Goal& goal) {
    return isFull ? std::optional(goal) : std::nullopt;
}

void adaptiveAgainstSelfJoin(const SearchData& data, bool isFull, Report& report) {
    SelfJoin shapes(data.queryShape, data.shapeMatrix);
    SelfJoin texts(data.queryText, data.textMatrix);
    shapes.run();
    texts.run();
    require(shapes.agreesWith(buildNeighbourLists(data.queryShape, data.shapeMatrix)) &&
                texts.agreesWith(buildNeighbourLists(data.queryText, data.textMatrix)),
            "neighbour lists of Adaptive");
    const Comparison times = compare({[&] { adaptive(data, 5); }}, {[&] {
                                         shapes.run();
                                         texts.run();
                                     }},
                                     40.0);
    report.add(comparisonRow("adaptive/selfJoin/" + std::to_string(data.shapeMatrix.shape(0)),
                             "search / the index's self-join of 101 neighbours, both sides", times,
                             goalIf(isFull, {1.20, 1.08})));
}

void adaptiveAgainstDense(const SearchData& data, const std::string& variant, const char* measure,
                          const std::function<std::vector<SearchResult>()>& dense,
                          const std::optional<Goal>& goal, Report& report) {
    const std::size_t rows = data.shapeMatrix.shape(0);
    const std::string name = "adaptive/" + variant + "/" + std::to_string(rows);
    const std::size_t neededMiB = rows * rows / (1U << 20U) * sizeof(float) * 6;
    if (availableMiB() != 0 && availableMiB() < neededMiB) {
        std::cerr << name << " left out: takes " << neededMiB << " MiB of memory" << std::endl;
        return;
    }
    std::vector<SearchResult> denseHits;
    Comparison times = compare({[&] { adaptive(data, 5); }}, {[&] { denseHits = dense(); }}, 20.0);
    require(!denseHits.empty() && sameHits(adaptive(data, 5), denseHits), "hits of Adaptive");
    times.ratio = 1.0 / times.ratio;
    report.add(comparisonRow(name, measure, times, goal));
}

void adaptiveAgainstBothDense(const SearchData& data, bool isFull, Report& report) {
    adaptiveAgainstDense(
        data, "dense", "search by dense arrays / search", [&] { return searchDenseInFull(data); },
        goalIf(isFull, {8.0, 8.0, true}), report);
    adaptiveAgainstDense(
        data, "denseOneRow", "search by dense arrays, but refining one row only / search",
        [&] {
            return reference::searchAdaptive(5, data.queryShape, data.queryText, data.shapeMatrix,
                                             data.textMatrix, 0.3F);
        },
        std::nullopt, report);
}

void adaptiveWithAllRows(const SearchData& data, bool isFull, Report& report) {
    const std::size_t rows = data.shapeMatrix.shape(0);
    require(!adaptive(data, 5).empty(), "hits of Adaptive");
    const Comparison times =
        compare({[&] { adaptive(data, rows); }}, {[&] { adaptive(data, 5); }}, 40.0);
    report.add(comparisonRow("adaptive/topkAll/" + std::to_string(rows), "/topk -1 / /topk 5",
                             times, goalIf(isFull, {3.0, 1.5})));
}

using Search = void (*)(std::uint32_t, const FeatureMatrix&, const FeatureMatrix&, float,
                        std::vector<SearchResult>&);

void oneSideAgainstIndex(const std::string& method, Search search, const FeatureMatrix& query,
                         const FeatureMatrix& matrix, Report& report) {
    constexpr std::uint32_t k = 5;
    std::vector<SearchResult> hits;
    std::vector<float> distances(k);
    std::vector<Label> labels(k);
    const Contender ours{[&] {
        hits.clear();
        search(k, query, matrix, -std::numeric_limits<float>::infinity(), hits);
    }};
    const Contender other{[&] {
        faiss::IndexFlatL2 index(static_cast<Label>(matrix.shape(1)));
        index.add(static_cast<Label>(matrix.shape(0)), matrix.data());
        index.search(1, query.data(), k, distances.data(), labels.data());
    }};
    ours.run();
    other.run();
    for (std::size_t i = 0; i < k; ++i) {
        require(
            hits.size() == k && hits[i].index == labels[i] && hits[i].distOrScore == distances[i],
            "hits of " + method);
    }
    report.add(comparisonRow(method + "/index/" + std::to_string(matrix.shape(0)),
                             "search / the index's own add and search", compare(ours, other),
                             Goal{1.10, 1.03}));
}

}  // namespace

void benchSearch(const Settings& settings, Report& report) {
    for (const std::size_t rows : {std::size_t{20000}, std::size_t{100000}}) {
        const SearchData data = makeSearchData(rows);
        oneSideAgainstIndex("byShape", searchByShape, data.queryShape, data.shapeMatrix, report);
        oneSideAgainstIndex("byText", searchByText, data.queryText, data.textMatrix, report);
    }
    const SearchData data = makeSearchData(settings.full ? 20000 : 5000);
    adaptiveAgainstSelfJoin(data, settings.full, report);
    adaptiveWithAllRows(data, settings.full, report);
    adaptiveAgainstBothDense(data, settings.full, report);
}

}  // namespace quillon::bench
