#include "search/adaptive/stacked_side.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>
#include <xtensor/xexception.hpp>

#include "shared/in_parallel.h"

namespace quillon {
namespace {

std::string_view bytesOf(const StackedSide& side, Row row) {
    return {reinterpret_cast<const char*>(side.vectors[row]), side.width * sizeof(float)};
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

/// If different vectors have equal hashes, identical rows may be taken for distinct ones. That
/// takes time, but changes no result.
void findIdenticalRows(StackedSide& side) {
    side.firstIdentical.resize(side.rowCount);
    side.nextIdentical.assign(side.rowCount, noRow);
    side.identicalRows.assign(side.rowCount, 0);
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
        ++side.identicalRows[side.firstIdentical[i]];
        if (side.firstIdentical[i] == i) {
            side.distinct.push_back(static_cast<Row>(i));
        }
    }
}

}  // namespace

StackedSide stackSide(const FeatureMatrix& query, const FeatureMatrix& library, std::size_t workers,
                      const DistanceKernel& kernel) {
    if (query.shape(1) != library.shape(1)) {
        // In the words of the array library.
        throw xt::concatenate_error(
            "Incompatible dimension of arrays, compile in DEBUG for more info");
    }
    StackedSide side;
    side.rowCount = library.shape(0) + 1;
    side.width = library.shape(1);
    side.vectors.push_back(query.data());
    for (std::size_t row = 0; row < library.shape(0); ++row) {
        side.vectors.push_back(library.data() + row * side.width);
    }
    side.workers = workers;
    side.kernel = kernel;
    findIdenticalRows(side);
    return side;
}

}  // namespace quillon
