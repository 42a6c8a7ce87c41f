#include "search/adaptive/refined_scores.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "search/adaptive/rank_similarity.h"

namespace quillon {
namespace {

InvertedIndex indexLists(std::span<const ListedRow> rows, std::size_t side) {
    InvertedIndex index;
    for (std::size_t place = 0; place < rows.size(); ++place) {
        for (const Row element : rows[place].lists[side].rows()) {
            index.emplace_back(element, place);
        }
    }
    std::sort(index.begin(), index.end());
    return index;
}

}  // namespace

Votes votesOf(const ListedRow& query, std::vector<ListedRow> neighbours, std::uint32_t k) {
    const std::array<InvertedIndex, 2> indexes{indexLists(neighbours, 0),
                                               indexLists(neighbours, 1)};
    return {query, std::move(neighbours), indexes, k};
}

float refinedScore(const Votes& votes, const ListedRow& row) {
    std::set<std::size_t> places;  // in the order of the neighbours
    for (std::size_t s = 0; s < row.lists.size(); ++s) {
        for (const Row element : row.lists[s].rows()) {
            forEachPlace(votes.indexes[s], element, [&](std::size_t p) { places.insert(p); });
        }
    }
    // Neighbours without a common element add 0, or NaN if a weight is NaN.
    float sum = votes.neighbours.empty() ? 0.0F : (row.weights[0] + row.weights[1]) * 0.0F;
    for (const std::size_t place : places) {
        sum += fusedSimilarity(row, votes.neighbours[place]);
    }
    return (fusedSimilarity(votes.query, row) + sum) / static_cast<float>(votes.k + 1);
}

std::vector<float> refinedScores(const Votes& votes, std::span<const ListedRow> rows) {
    std::vector<float> scores;
    for (const ListedRow& row : rows) {
        scores.push_back(refinedScore(votes, row));
    }
    return scores;
}

}  // namespace quillon
