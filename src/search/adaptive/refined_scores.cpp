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

Rows bestNeighbours(std::span<const RowValue> queryRow, std::uint32_t k, std::size_t rowCount) {
    std::vector<float> values(rowCount, 0.0F);
    for (const RowValue& similarity : queryRow) {
        values[similarity.row] = similarity.value;
    }
    Rows rows(rowCount);
    std::iota(rows.begin(), rows.end(), 0);
    const std::size_t wanted = std::min(std::size_t{k} + 1, rowCount - 1);
    const auto end = rows.begin() + static_cast<std::ptrdiff_t>(wanted);
    std::partial_sort(rows.begin(), end, rows.end(), [&](Row a, Row b) {
        return values[a] != values[b] ? values[a] > values[b] : a > b;
    });
    return {std::min(rows.begin() + 1, end), end};
}

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
    // Neighbours without an element in common add 0, unless a weight is NaN.
    float sum = votes.neighbours.empty() ? 0.0F : (row.weights[0] + row.weights[1]) * 0.0F;
    for (const std::size_t place : places) {
        sum += fusedSimilarity(row, votes.neighbours[place]);
    }
    return (fusedSimilarity(votes.query, row) + sum) / static_cast<float>(votes.k + 1);
}

}  // namespace quillon
