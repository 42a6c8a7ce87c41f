// Rows of floats that are appended one after the other and end as a feature matrix.
#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

#include "shared/feature_matrix.h"

namespace quillon {

class GrowingRows {
  public:
    /// `expectedRows` is the first capacity; beyond it the rows are moved as they grow.
    explicit GrowingRows(std::size_t rowWidth, std::size_t expectedRows = 16)
        : width(rowWidth), expected(expectedRows) {}

    /// When rows have to be moved, they get room for `rows` at once, if it is to be had.
    void expect(std::size_t rows) { expected = rows; }

    /// A new last row, its values not set, valid until the next one is appended.
    float* append() {
        if (count == values.shape(0)) {
            grow();
        }
        return values.data() + width * count++;
    }

    const float* row(std::size_t index) const { return values.data() + width * index; }
    std::size_t rowCount() const { return count; }
    std::size_t rowWidth() const { return width; }
    std::size_t capacityBytes() const { return values.size() * sizeof(float); }

    /// The first `wanted` of the rows, at most all, as a matrix: without a copy where the platform
    /// can.
    FeatureMatrix takeMatrix(std::size_t wanted) && {
        values.resize({wanted, width});
        return std::move(values);
    }

  private:
    void grow() {
        const std::size_t byHalf = count + count / 2 + 1;
        try {
            values.resize({std::max(expected, byHalf), width});
        } catch (const std::bad_alloc&) {
            if (count == 0 || expected <= byHalf) {
                throw;
            }
            values.resize({byHalf, width});
        }
    }

    std::size_t width;
    std::size_t expected;
    std::size_t count = 0;
    FeatureMatrix values;  // shape(0) is the capacity
};

}  // namespace quillon
