#include "search/neighbours/side_rows.h"

#include <faiss/utils/distances.h>

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

#include "search/squared_distances.h"
#include "shared/in_parallel.h"

namespace quillon {
namespace {

constexpr std::size_t rowsWorthAThread = 500;

std::string_view bytesOf(const SideRows& side, Row row) {
    return {reinterpret_cast<const char*>(vectorOf(side, row)), side.width * sizeof(float)};
}

/// Rows of equal hashes side by side, ascending.
std::vector<std::pair<std::size_t, Row>> sortedHashes(const SideRows& side) {
    std::vector<std::pair<std::size_t, Row>> hashes(side.count);
    inParallel(side.count, rowsWorthAThread, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            const auto row = static_cast<Row>(i);
            hashes[i] = {std::hash<std::string_view>()(bytesOf(side, row)), row};
        }
    });
    std::sort(hashes.begin(), hashes.end());
    return hashes;
}

/// Where different vectors have one hash, a copy behind another vector counts as a row of its own.
/// That costs time and changes no result.
void findCopies(SideRows& side) {
    side.firstCopy.resize(side.count);
    side.nextCopy.assign(side.count, noRow);
    std::size_t hashBefore = 0;
    Row before = noRow;
    for (const auto& [hash, row] : sortedHashes(side)) {
        if (before != noRow && hash == hashBefore && bytesOf(side, before) == bytesOf(side, row)) {
            side.firstCopy[row] = side.firstCopy[before];
            side.nextCopy[before] = row;
        } else {
            side.firstCopy[row] = row;
        }
        hashBefore = hash;
        before = row;
    }
    for (std::size_t i = 0; i < side.count; ++i) {
        if (side.firstCopy[i] == i) {
            side.distinct.push_back(static_cast<Row>(i));
        }
    }
}

}  // namespace

SideRows stackRows(const FeatureMatrix& query, const FeatureMatrix& library) {
    SideRows side;
    side.query = &query;
    side.library = &library;
    side.count = library.shape(0) + 1;
    side.width = library.shape(1);
    findCopies(side);
    side.squaredLengths.resize(side.count);
    inParallel(side.count, rowsWorthAThread, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            side.squaredLengths[i] =
                faiss::fvec_norm_L2sqr(vectorOf(side, static_cast<Row>(i)), side.width);
        }
    });
    return side;
}

const float* vectorOf(const SideRows& side, Row row) {
    return row == 0 ? side.query->data()
                    : side.library->data() + (row - std::size_t{1}) * side.width;
}

float squaredDistance(const SideRows& side, Row a, Row b) {
    VectorsAtOnce others;
    others.fill(vectorOf(side, b));
    return squaredDistances(vectorOf(side, a), others, side.width)[0];
}

std::size_t countCopies(const SideRows& side, Row row, std::size_t limit) {
    std::size_t count = 0;
    for (Row copy = side.firstCopy[row]; copy != noRow && count < limit;
         copy = side.nextCopy[copy]) {
        ++count;
    }
    return count;
}

}  // namespace quillon
