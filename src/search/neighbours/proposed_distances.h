// Distances of many pairs of rows by matrix products: the quick way to look at them, but rounded
// differently on every processor. They only propose; distance_bounds.h says what follows from them.
#pragma once

#include <faiss/VectorTransform.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "search/neighbours/side_rows.h"

namespace quillon {

/// The proposals of some rows to some columns, rows that they are held against; for a visitor to
/// read and to change.
struct ProposedBlock {
    std::span<const Row> rows;
    std::span<const Row> columns;
    std::size_t firstRow = 0;  // places of rows[0] and columns[0] among all that were asked for
    std::size_t firstColumn = 0;
    float* proposals = nullptr;

    std::span<float> of(std::size_t i) const {
        return {proposals + i * columns.size(), columns.size()};
    }
};

/// Columns with their vectors copied together. A linear transformation is the index library's one
/// plain matrix product: of a vector it makes the products with all rows of its matrix.
struct ColumnVectors {
    faiss::LinearTransform products;
    std::vector<float> squaredLengths;
};

ColumnVectors copyColumns(const SideRows& side, std::span<const Row> columns);

/// Sets `proposals` to |row|^2 + |column|^2 - 2 row . column for all pairs. Reads rows of
/// consecutive numbers where they lie and copies others into `vectors` first.
void propose(const SideRows& side, std::span<const Row> rows, const ColumnVectors& columns,
             float* vectors, float* proposals);

/// Calls `visit` with the proposals of all `rows` to all `columns`, block by block on the calling
/// thread: of the first few thousand columns all rows in their order, then of the next. Takes some
/// 20 MB at most. The products use the BLAS library's threads.
template <class Visit>
void forEachBlock(const SideRows& side, std::span<const Row> rows, std::span<const Row> columns,
                  const Visit& visit) {
    constexpr std::size_t mostColumns = 2048;
    // A million proposals stay near the processor, and more rows make the product no quicker.
    constexpr std::size_t mostProposals = std::size_t{1} << 20U;
    constexpr std::size_t mostRows = 4096;
    for (std::size_t firstColumn = 0; firstColumn < columns.size(); firstColumn += mostColumns) {
        const auto columnsNow =
            columns.subspan(firstColumn, std::min(mostColumns, columns.size() - firstColumn));
        const ColumnVectors columnVectors = copyColumns(side, columnsNow);
        const std::size_t most =
            std::min({mostRows, mostProposals / columnsNow.size(), rows.size()});
        const auto vectors = std::make_unique_for_overwrite<float[]>(most * side.width);
        const auto proposals = std::make_unique_for_overwrite<float[]>(most * columnsNow.size());
        for (std::size_t firstRow = 0; firstRow < rows.size();) {
            // The query lies apart. In a block of its own it leaves the others consecutive.
            const std::size_t size =
                rows[firstRow] == 0 ? 1 : std::min(most, rows.size() - firstRow);
            const auto rowsNow = rows.subspan(firstRow, size);
            propose(side, rowsNow, columnVectors, vectors.get(), proposals.get());
            visit(ProposedBlock{rowsNow, columnsNow, firstRow, firstColumn, proposals.get()});
            firstRow += size;
        }
    }
}

/// Calls `visit(i)` for each proposal below its limit, `limits(i)`, which `visit` may lower. Looks
/// at several at once, since hardly any is below.
template <class Limits, class Visit>
void forEachBelow(std::span<const float> proposals, const Limits& limits, const Visit& visit) {
    constexpr std::size_t stride = 16;
    for (std::size_t begin = 0; begin < proposals.size(); begin += stride) {
        const std::size_t end = std::min(begin + stride, proposals.size());
        int below = 0;
        for (std::size_t i = begin; i < end; ++i) {
            below |= static_cast<int>(proposals[i] < limits(i));
        }
        for (std::size_t i = begin; below != 0 && i < end; ++i) {
            if (proposals[i] < limits(i)) {
                visit(i);
            }
        }
    }
}

}  // namespace quillon
