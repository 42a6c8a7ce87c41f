#include "search/adaptive/stacked_side.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

#include "shared/in_parallel.h"

namespace quillon {
namespace {

std::string_view bytesOf(const StackedSide& side, Row row) {
    return {reinterpret_cast<const char*>(vectorOf(side, row)), side.width * sizeof(float)};
}

/// Hash and row, ascending: rows of equal hashes are neighbours.
std::vector<std::pair<std::size_t, Row>> sortedHashes(const StackedSide& side) {
    constexpr std::size_t rowsPerChunk = 512;  // a tenth of a millisecond
    std::vector<std::pair<std::size_t, Row>> hashes(side.rowCount);
    forEachChunk(side.workers, side.rowCount, rowsPerChunk,
                 [&](std::size_t, std::size_t begin, std::size_t end) {
                     for (std::size_t i = begin; i < end; ++i) {
                         const auto row = static_cast<Row>(i);
                         hashes[i] = {std::hash<std::string_view>()(bytesOf(side, row)), row};
                     }
                 });
    std::sort(hashes.begin(), hashes.end());
    return hashes;
}

/// Where different vectors have one hash, a row may go undetected behind a row of the other vector
/// and counts as distinct. That costs time and changes no result.
void findIdenticalRows(StackedSide& side) {
    side.firstIdentical.resize(side.rowCount);
    side.nextIdentical.assign(side.rowCount, noRow);
    std::size_t hashBefore = 0;
    Row before = noRow;
    for (const auto& [hash, row] : sortedHashes(side)) {
        if (before != noRow && hash == hashBefore && bytesOf(side, before) == bytesOf(side, row)) {
            side.firstIdentical[row] = side.firstIdentical[before];
            side.nextIdentical[before] = row;
        } else {
            side.firstIdentical[row] = row;
        }
        hashBefore = hash;
        before = row;
    }
    for (std::size_t i = 0; i < side.rowCount; ++i) {
        if (side.firstIdentical[i] == i) {
            side.distinct.push_back(static_cast<Row>(i));
        }
    }
}

}  // namespace

StackedSide stackSide(const FeatureMatrix& query, const FeatureMatrix& library, std::size_t workers,
                      const DistanceKernel& kernel) {
    StackedSide side;
    side.query = &query;
    side.library = &library;
    side.rowCount = library.shape(0) + 1;
    side.width = library.shape(1);
    side.workers = workers;
    side.kernel = kernel;
    findIdenticalRows(side);
    return side;
}

const float* vectorOf(const StackedSide& side, Row row) {
    return row == 0 ? side.query->data()
                    : side.library->data() + (row - std::size_t{1}) * side.width;
}

std::size_t countIdentical(const StackedSide& side, Row row, std::size_t limit) {
    std::size_t count = 0;
    for (Row identical = side.firstIdentical[row]; identical != noRow && count < limit;
         identical = side.nextIdentical[identical]) {
        ++count;
    }
    return count;
}

}  // namespace quillon
