// The search methods, beside what the index alone takes. Hits are compared with the index or with
// the dense form before any time counts.
#include <faiss/IndexFlat.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "groups.h"
#include "made_up_blocks.h"
#include "measure.h"
#include "reference/dense_adaptive.h"
#include "search/adaptive.h"
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

/// On one thread, by the kernel that every processor has.
std::vector<SearchResult> adaptivePlainly(const SearchData& data, std::size_t k) {
    std::vector<SearchResult> hits;
    searchAdaptiveOn(1, runnableKernels().front(), static_cast<std::uint32_t>(k), data.queryShape,
                     data.queryText, data.shapeMatrix, data.textMatrix, 0.3F, hits);
    return hits;
}

/// Another process that keeps one processor busy as long as this lives.
class BusyProcess {
  public:
    BusyProcess() : child(fork()) {
        require(child != -1, "a busy process");
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);  // it is not to outlive an interrupted benchmark
        }
        // Volatile: a loop without any effect may be taken for one that ends.
        for (volatile bool isChild = child == 0; isChild;) {
        }
    }
    BusyProcess(const BusyProcess&) = delete;
    BusyProcess& operator=(const BusyProcess&) = delete;
    ~BusyProcess() {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

  private:
    pid_t child;
};

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

/// The dense form takes minutes for more rows.
void requireHitsOfDenseForm(std::size_t rows, Spread spread) {
    const SearchData data = makeSearchData(rows, spread);
    require(sameHits(adaptive(data, 5),
                     reference::searchAdaptive(5, data.queryShape, data.queryText, data.shapeMatrix,
                                               data.textMatrix, 0.3F)),
            "hits of Adaptive");
}

struct AdaptiveCase {
    const char* name;
    Spread spread;
    std::size_t rows;
    std::size_t k;  // 0: as many as there are rows
    Goal goal;
};

void adaptiveAgainstSelfJoin(const AdaptiveCase& c, const Settings& settings, Report& report) {
    const SearchData data = makeSearchData(c.rows, c.spread);
    const std::size_t k = c.k == 0 ? c.rows : c.k;
    if (c.rows <= 20000 && k <= 100) {
        require(sameHits(adaptive(data, k), adaptivePlainly(data, k)), "hits of Adaptive");
    }
    SelfJoin shapes(data.queryShape, data.shapeMatrix);
    SelfJoin texts(data.queryText, data.textMatrix);
    const Comparison times = compare({[&] { adaptive(data, k); }}, {[&] {
                                         shapes.run();
                                         texts.run();
                                     }},
                                     budgetSeconds(settings, 30.0));
    report.add(comparisonRow(std::string("adaptive/") + c.name + "/" + std::to_string(c.rows),
                             "search / the index's self-join of 101 neighbours, both sides", times,
                             goalIf(settings.full, c.goal)));
}

/// Ten times the rows.
void growthOfAdaptive(std::size_t rows, const Settings& settings, Report& report) {
    const SearchData small = makeSearchData(rows);
    const SearchData large = makeSearchData(10 * rows);
    const Comparison times = compare({[&] { adaptive(large, 5); }}, {[&] { adaptive(small, 5); }},
                                     budgetSeconds(settings, 30.0));
    report.add(comparisonRow("adaptive/tenfold/" + std::to_string(10 * rows),
                             "search of ten times the rows / search", times,
                             goalIf(settings.full, {16.0, 12.0})));
}

void adaptiveOnABusyMachine(std::size_t rows, const Settings& settings, Report& report) {
    const SearchData data = makeSearchData(rows);
    const auto search = [&] { adaptive(data, 5); };
    const Comparison beside = compare({[&] {
                                          const BusyProcess busy;
                                          search();
                                      }},
                                      {search}, budgetSeconds(settings, 30.0));
    report.add(comparisonRow("adaptive/busy/" + std::to_string(rows),
                             "search beside a process that keeps a processor busy / search", beside,
                             goalIf(settings.full, {2.2, 1.8})));
    const Comparison atOnce = compare({[&] {
                                          const std::jthread other(search);
                                          search();
                                      }},
                                      {[&] {
                                          search();
                                          search();
                                      }},
                                      budgetSeconds(settings, 30.0));
    report.add(comparisonRow("adaptive/atOnce/" + std::to_string(rows),
                             "two searches at once / one after the other", atOnce,
                             goalIf(settings.full, {1.0, 0.8})));
}

using Search = void (*)(std::uint32_t, const FeatureMatrix&, const FeatureMatrix&, float,
                        std::vector<SearchResult>&);

void oneSideAgainstIndex(const std::string& method, Search search, const FeatureMatrix& query,
                         const FeatureMatrix& matrix, const Settings& settings, Report& report) {
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
                             "search / the index's own add and search",
                             compare(ours, other, budgetSeconds(settings)), Goal{0.5, 0.3}));
}

}  // namespace

void benchSearch(const Settings& settings, Report& report) {
    for (const std::size_t rows :
         settings.full ? std::vector<std::size_t>{20000, 100000} : std::vector<std::size_t>{2000}) {
        const SearchData data = makeSearchData(rows);
        oneSideAgainstIndex("byShape", searchByShape, data.queryShape, data.shapeMatrix, settings,
                            report);
        oneSideAgainstIndex("byText", searchByText, data.queryText, data.textMatrix, settings,
                            report);
    }
    for (const Spread spread : {Spread::clustered, Spread::unclustered, Spread::copies}) {
        requireHitsOfDenseForm(settings.full ? 2000 : 1100, spread);
    }
    const std::size_t rows = settings.full ? 20000 : 2000;
    for (const AdaptiveCase& c :
         {AdaptiveCase{"clustered", Spread::clustered, rows, 5, {0.12, 0.06}},
          AdaptiveCase{"unclustered", Spread::unclustered, rows, 5, {0.18, 0.10}},
          AdaptiveCase{"copies", Spread::copies, rows, 5, {0.20, 0.08}},
          AdaptiveCase{"topk100", Spread::clustered, rows, 100, {0.6, 0.35}},
          AdaptiveCase{"topkAll", Spread::clustered, rows, 0, {1.5, 1.2}}}) {
        adaptiveAgainstSelfJoin(c, settings, report);
    }
    growthOfAdaptive(rows, settings, report);
    adaptiveOnABusyMachine(rows, settings, report);
    if (settings.full) {
        adaptiveOnABusyMachine(100000, settings, report);
    }
}

}  // namespace quillon::bench
