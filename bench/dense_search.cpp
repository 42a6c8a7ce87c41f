#include "dense_search.h"

#include <algorithm>
#include <numeric>
#include <xtensor/xbuilder.hpp>
#include <xtensor/xmanipulation.hpp>

#include "measure.h"
#include "reference/dense_adaptive.h"
#include "search/single_side.h"

namespace quillon::bench {
namespace {

constexpr std::size_t k = 5;

/// For each row all columns by ascending value.
reference::Labels sortedRows(const reference::Floats& values) {
    reference::Labels order = reference::Labels::from_shape(values.shape());
    for (std::size_t row = 0; row < values.shape(0); ++row) {
        std::int64_t* first = &order(row, 0);
        std::iota(first, first + values.shape(1), 0);
        std::stable_sort(first, first + values.shape(1), [&](std::int64_t a, std::int64_t b) {
            return values(row, a) < values(row, b);
        });
    }
    return order;
}

reference::Floats refinedRows(const reference::Floats& fused) {
    const reference::Labels ranks = sortedRows(fused);
    const std::size_t rows = fused.shape(0);
    reference::Floats refined = reference::Floats::from_shape(fused.shape());
    forEachIndex(rows, [&](std::size_t row) {
        for (std::size_t j = 0; j < rows; ++j) {
            float votes = 0.0F;
            for (std::size_t rank = rows - 2; rank > rows - 2 - k; --rank) {
                votes += fused(j, ranks(row, rank));
            }
            refined(row, j) = (fused(row, j) + votes) / static_cast<float>(k + 1);
        }
    });
    return refined;
}

}  // namespace

std::vector<SearchResult> searchDenseInFull(const SearchData& data) {
    std::vector<reference::Floats> weights;
    const reference::Floats fused = reference::fuseSimilarities(
        {xt::concatenate(xt::xtuple(data.queryShape, data.shapeMatrix), 0),
         xt::concatenate(xt::xtuple(data.queryText, data.textMatrix), 0)},
        weights, 0.4F);
    const reference::Floats refined = refinedRows(fused);
    const std::vector<std::int64_t> order = reference::insertionSorted(refined, 0);
    std::vector<SearchResult> hits;
    for (auto column = order.rbegin(); column != order.rend() && hits.size() < k; ++column) {
        if (*column == 0 ||
            equalsQuery(data.shapeMatrix, static_cast<std::size_t>(*column - 1), data.queryShape)) {
            continue;
        }
        if (!(refined(0, *column) >= 0.3F)) {
            break;
        }
        hits.push_back({*column - 1, refined(0, *column), weights[0](0, 0), weights[1](0, 0)});
    }
    return hits;
}

}  // namespace quillon::bench
