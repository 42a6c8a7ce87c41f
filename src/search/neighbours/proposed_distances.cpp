#include "search/neighbours/proposed_distances.h"

namespace quillon {
namespace {

/// True when the rows' vectors lie one behind the other.
bool areConsecutive(std::span<const Row> rows) {
    const auto isGap = [](Row row, Row next) { return next != row + 1; };
    return (rows.front() > 0 || rows.size() == 1) &&
           std::adjacent_find(rows.begin(), rows.end(), isGap) == rows.end();
}

void copyVectors(const SideRows& side, std::span<const Row> rows, float* vectors) {
    for (const Row row : rows) {
        vectors = std::copy_n(vectorOf(side, row), side.width, vectors);
    }
}

}  // namespace

ColumnVectors copyColumns(const SideRows& side, std::span<const Row> columns) {
    ColumnVectors copied;
    copied.products =
        faiss::LinearTransform(static_cast<int>(side.width), static_cast<int>(columns.size()));
    copied.products.is_trained = true;
    copied.products.A.resize(columns.size() * side.width);
    copyVectors(side, columns, copied.products.A.data());
    copied.squaredLengths.reserve(columns.size());
    for (const Row column : columns) {
        copied.squaredLengths.push_back(side.squaredLengths[column]);
    }
    return copied;
}

void propose(const SideRows& side, std::span<const Row> rows, const ColumnVectors& columns,
             float* vectors, float* proposals) {
    const float* inPlace = vectorOf(side, rows.front());
    if (!areConsecutive(rows)) {
        copyVectors(side, rows, vectors);
        inPlace = vectors;
    }
    columns.products.apply_noalloc(static_cast<faiss::Index::idx_t>(rows.size()), inPlace,
                                   proposals);
    for (const Row row : rows) {
        for (const float squaredLength : columns.squaredLengths) {
            *proposals = side.squaredLengths[row] + squaredLength - 2.0F * *proposals;
            ++proposals;
        }
    }
}

}  // namespace quillon
