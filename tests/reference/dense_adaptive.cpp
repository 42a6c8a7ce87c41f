#include "reference/dense_adaptive.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>
#include <xtensor/xbuilder.hpp>
#include <xtensor/xmanipulation.hpp>
#include <xtensor/xmath.hpp>
#include <xtensor/xview.hpp>

namespace quillon::reference {
namespace {

Floats stacked(const FeatureMatrix& query, const FeatureMatrix& matrix) {
    return xt::concatenate(xt::xtuple(query, matrix), 0);
}

void fillRankSimilarityRow(Floats& similarity, const Labels& labels, std::int32_t row) {
    const auto rows = static_cast<std::int32_t>(labels.shape(0));
    for (std::int32_t j = row + 1; j < rows; ++j) {
        const float d1 = rankListDistance(labels, j, row);
        const float d2 = rankListDistance(labels, row, j);
        const float s = 1.0F - (d1 + d2) * 0.5F;
        similarity(row, j) = s;
        similarity(j, row) = s;
    }
}

void voteRow(Floats& refined, const Floats& fused, const Labels& neighbours, std::int32_t row,
             std::int32_t k) {
    std::vector<std::int64_t> list;
    for (std::size_t n = 0; n < neighbours.shape(1); ++n) {
        list.push_back(neighbours(row, n));
    }
    // The array library does pointer arithmetic on the null pointer of an empty selection.
    xt::xtensor<float, 1> sums = xt::zeros<float>({fused.shape(0)});
    if (!list.empty()) {
        sums = xt::sum(xt::view(fused, xt::all(), xt::keep(list)), {1});
    }
    for (std::size_t j = 0; j < fused.shape(0); ++j) {
        refined(row, j) = (fused(row, j) + sums(j)) / static_cast<float>(k + 1);
    }
}

}  // namespace

Floats squaredDistances(const Floats& matrix) {
    // Of so many rows at a time, element by element, which the compiler does at once.
    constexpr std::size_t lanes = 16;
    const std::size_t rows = matrix.shape(0);
    const std::size_t width = matrix.shape(1);
    Floats distances = Floats::from_shape({rows, rows});
    std::vector<std::array<float, lanes>> others(width);
    for (std::size_t begin = 0; begin < rows; begin += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            for (std::size_t c = 0; c < width; ++c) {
                others[c][lane] = matrix(std::min(begin + lane, rows - 1), c);
            }
        }
        for (std::size_t row = begin; row < rows; ++row) {
            const float* values = &matrix(row, 0);
            std::array<float, lanes> sums{};
            for (std::size_t c = 0; c < width; ++c) {
                for (std::size_t lane = 0; lane < lanes; ++lane) {
                    const float difference = values[c] - others[c][lane];
                    sums[lane] += difference * difference;
                }
            }
            for (std::size_t lane = 0; lane < lanes && begin + lane < rows; ++lane) {
                distances(row, begin + lane) = sums[lane];
                distances(begin + lane, row) = sums[lane];
            }
        }
    }
    return distances;
}

DenseLists buildNeighbourLists(const Floats& distances, std::int32_t neighbourCount) {
    constexpr float largest = std::numeric_limits<float>::max();
    const std::size_t rows = distances.shape(0);
    const auto count = static_cast<std::size_t>(neighbourCount);
    DenseLists lists{Labels::from_shape({rows, count}), Floats::from_shape({rows, count})};
    for (std::size_t row = 0; row < rows; ++row) {
        std::vector<std::pair<float, std::int64_t>> near;
        for (std::size_t other = 0; other < rows; ++other) {
            if (distances(row, other) < largest) {
                near.emplace_back(distances(row, other), static_cast<std::int64_t>(other));
            }
        }
        near.resize(std::max(near.size(), count + 1), {largest, -1});
        const auto end = near.begin() + neighbourCount + 1;
        std::partial_sort(near.begin(), end, near.end());
        for (std::size_t n = 0; n < count; ++n) {
            lists.distances(row, n) = near[n + 1].first;
            lists.labels(row, n) = near[n + 1].second;
        }
    }
    return lists;
}

Floats neighbourSimilarityCurves(const Floats& distances) {
    const auto others = static_cast<std::int32_t>(distances.shape(0)) - 1;
    return 1 - buildNeighbourLists(distances, others < 101 ? others : 100).distances;
}

float rankListDistance(const Labels& labels, std::int32_t a, std::int32_t b) {
    const auto count = static_cast<std::int32_t>(labels.shape(1));
    float sum = 0.0F;
    for (std::int32_t i = 0; i < count; ++i) {
        std::int32_t position = 0;
        while (position < count && labels(b, position) != labels(a, i)) {
            ++position;
        }
        sum += static_cast<float>(position < count ? std::abs(position - i) : 2 * count - i - 1);
    }
    const std::int32_t disjointSum = (count * (count - 1)) / 2 + count * count;
    return sum / static_cast<float>(disjointSum);
}

Floats rankSimilarityMatrix(const Floats& distances) {
    const auto rows = static_cast<std::int32_t>(distances.shape(0));
    const Labels labels = buildNeighbourLists(distances, rows - 1 < 6 ? rows - 1 : 5).labels;
    Floats similarity = xt::ones<float>({distances.shape(0), distances.shape(0)});
    for (std::int32_t row = 0; row < rows; ++row) {
        fillRankSimilarityRow(similarity, labels, row);
    }
    return similarity;
}

std::vector<Floats> curveAreaWeights(const std::vector<Floats>& curves) {
    const std::size_t rows = curves[0].shape(0);
    const std::size_t count = curves[0].shape(1);
    std::vector<xt::xtensor<float, 1>> areas;
    for (const Floats& curve : curves) {
        areas.emplace_back(xt::zeros<float>({rows}));
        if (count == 0) {
            continue;  // the array library can't reduce rows without columns
        }
        const xt::xtensor<float, 1> minimum = xt::amin(curve, {1});
        const std::vector<std::size_t> repeats(rows, count);
        xt::xtensor<float, 1> repeated = xt::repeat(minimum, repeats, 0);
        const Floats minima = xt::reshape_view(repeated, {rows, count});
        const Floats squares = xt::square(curve - minima);
        // The library's own trapezoid rule fails on fewer than two columns and on arrays of fixed
        // rank, so here it is spelled out.
        for (std::size_t row = 0; row < rows; ++row) {
            double area = 0.0;
            for (std::size_t j = 1; j < count; ++j) {
                area += 1.0 * (squares(row, j) + squares(row, j - 1)) * 0.5;
            }
            areas.back()(row) = static_cast<float>(area);
        }
    }
    Floats total = xt::zeros<float>({std::size_t{1}, rows});
    for (const auto& area : areas) {
        total = total + area;
    }
    std::vector<Floats> weights;
    for (const auto& area : areas) {
        weights.emplace_back(area / total);
    }
    return weights;
}

Floats fuseSimilarities(const std::vector<Floats>& sides, std::vector<Floats>& weights,
                        float minWeight) {
    std::vector<Floats> curves;
    std::vector<Floats> rankSimilarity;
    for (const Floats& side : sides) {
        const Floats distances = squaredDistances(side);
        curves.push_back(neighbourSimilarityCurves(distances));
        rankSimilarity.push_back(rankSimilarityMatrix(distances));
    }
    weights = curveAreaWeights(curves);
    weights[0](0, 0) = weights[0](0, 0) > minWeight ? weights[0](0, 0) : minWeight;
    weights[1](0, 0) = 1.0F - weights[0](0, 0);
    const std::size_t rows = sides[0].shape(0);
    Floats fused = xt::zeros<float>({rows, rows});
    for (std::size_t s = 0; s < sides.size(); ++s) {
        fused = xt::transpose(weights[s]) * rankSimilarity[s] + fused;
    }
    return fused;
}

Floats refineByNeighbours(const Floats& fused, std::int32_t k, bool allRows) {
    const auto rows = static_cast<std::int32_t>(fused.shape(0));
    const std::int32_t votingRows = allRows ? rows : 1;
    Floats refined = xt::zeros<float>(fused.shape());
    const std::int32_t stop = std::max(rows - k - 2, 0);
    const auto listed = static_cast<std::size_t>(std::max(rows - 2 - stop, 0));
    Labels neighbours = xt::zeros<std::int64_t>({fused.shape(0), listed});
    for (std::int32_t row = 0; row < votingRows; ++row) {
        const auto ranks = insertionSorted(fused, static_cast<std::size_t>(row));
        for (std::int32_t rank = rows - 2; rank > stop; --rank) {
            neighbours(row, rows - 2 - rank) = ranks[static_cast<std::size_t>(rank)];
        }
        voteRow(refined, fused, neighbours, row, k);
    }
    return refined;
}

std::vector<std::int64_t> insertionSorted(const Floats& values, std::size_t row) {
    const bool nanIsLeast = values.shape(1) > 32;
    const auto isLess = [&](float a, float b) {
        return nanIsLeast && std::isnan(a) ? !std::isnan(b) : a < b;
    };
    std::vector<std::int64_t> order;
    for (std::size_t column = 0; column < values.shape(1); ++column) {
        const float value = values(row, column);
        std::size_t place = order.size();
        if (place > 0 && isLess(value, values(row, order[0]))) {
            place = 0;
        }
        while (place > 0 && isLess(value, values(row, order[place - 1]))) {
            --place;
        }
        order.insert(order.begin() + static_cast<std::ptrdiff_t>(place),
                     static_cast<std::int64_t>(column));
    }
    return order;
}

FusedLibrary fuseLibrary(const FeatureMatrix& queryShape, const FeatureMatrix& queryText,
                         const FeatureMatrix& shapeMatrix, const FeatureMatrix& textMatrix) {
    FusedLibrary library{stacked(queryShape, shapeMatrix), {}, {}};
    library.fused = fuseSimilarities({library.stackedShape, stacked(queryText, textMatrix)},
                                     library.weights, 0.4F);
    return library;
}

std::vector<SearchResult> searchFused(const FusedLibrary& library, std::uint32_t k,
                                      float minThreshold) {
    const Floats& fused = library.fused;
    // The other rows of the array change nothing in row 0; on small libraries they are computed all
    // the same, as the dense form does.
    const Floats refined =
        refineByNeighbours(fused, static_cast<std::int32_t>(k), fused.shape(0) <= 40);
    std::vector<std::int64_t> rankedColumns = insertionSorted(refined, 0);
    std::reverse(rankedColumns.begin(), rankedColumns.end());

    std::vector<SearchResult> hits;
    const auto query = xt::view(library.stackedShape, 0, xt::all());
    for (const std::int64_t column : rankedColumns) {
        const auto row = xt::view(library.stackedShape, column, xt::all());
        if (column == 0 || std::equal(row.begin(), row.end(), query.begin())) {
            continue;
        }
        const float score = refined(0, column);
        if (!(score >= minThreshold)) {
            break;
        }
        hits.push_back({column - 1, score, library.weights[0](0, 0), library.weights[1](0, 0)});
        if (hits.size() == k) {
            break;
        }
    }
    return hits;
}

std::vector<SearchResult> searchAdaptive(std::uint32_t k, const FeatureMatrix& queryShape,
                                         const FeatureMatrix& queryText,
                                         const FeatureMatrix& shapeMatrix,
                                         const FeatureMatrix& textMatrix, float minThreshold) {
    return searchFused(fuseLibrary(queryShape, queryText, shapeMatrix, textMatrix), k,
                       minThreshold);
}

}  // namespace quillon::reference
