// Rows of floats that are appended one after the other and end as a feature matrix.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

#include "shared/feature_matrix.h"

namespace quillon {

class GrowingRows {
  public:
    explicit GrowingRows(std::size_t rowWidth) : width(rowWidth) {}

    /// Makes room for so many rows at once.
    void reserve(std::size_t rows) {
        if (rows > values.shape(0)) {
            values.resize({rows, width});
        }
    }

    /// A new last row, its values not set, valid until the next one is appended.
    float* append() {
        if (count == values.shape(0)) {
            reserve(std::max<std::size_t>(16, count + count / 2));
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
    std::size_t width;
    std::size_t count = 0;
    FeatureMatrix values;  // shape(0) is the capacity
};

}  // namespace quillon
