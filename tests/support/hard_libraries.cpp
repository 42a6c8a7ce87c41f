#include "support/hard_libraries.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace quillon::test {
namespace {

constexpr std::size_t usedColumns = 32;

/// Multiples of 2^-8 below 1.
float draw(std::mt19937& random) {
    return static_cast<float>(random() % 256) / 256.0F;
}

void fillUniform(float* row, std::mt19937& random) {
    std::generate_n(row, usedColumns, [&] { return draw(random); });
}

RandomLibrary zeros(std::size_t rowCount) {
    const auto matrix = [](std::size_t rows, std::size_t width) {
        FeatureMatrix filled = FeatureMatrix::from_shape({rows, width});
        filled.fill(0.0F);
        return filled;
    };
    return {matrix(1, shapeWidth), matrix(1, textWidth), matrix(rowCount, shapeWidth),
            matrix(rowCount, textWidth)};
}

/// Calls `fill(row, first element)` for the rows of one side, the query being row 0.
template <class Fill>
void fillSide(FeatureMatrix& query, FeatureMatrix& matrix, const Fill& fill) {
    fill(std::size_t{0}, query.data());
    for (std::size_t row = 0; row < matrix.shape(0); ++row) {
        fill(row + 1, matrix.data() + row * matrix.shape(1));
    }
}

/// The same for both sides.
template <class Fill>
RandomLibrary filled(std::size_t rowCount, const Fill& fill) {
    RandomLibrary library = zeros(rowCount);
    fillSide(library.queryShape, library.shapeMatrix, fill);
    fillSide(library.queryText, library.textMatrix, fill);
    return library;
}

}  // namespace

RandomLibrary uniformLibrary(std::size_t rowCount, std::uint32_t seed) {
    std::mt19937 random(seed);
    return filled(rowCount,
                  [&](std::size_t /*row*/, float* values) { fillUniform(values, random); });
}

RandomLibrary libraryAroundSixIdenticalRows(float shapeLength, float textLength) {
    constexpr std::size_t around = 401;
    std::mt19937 random(1);
    RandomLibrary library = zeros(1200);
    std::size_t axesTaken = 0;
    float length = shapeLength;
    const auto fill = [&](std::size_t row, float* values) {
        if (row >= 6 + around) {
            fillUniform(values, random);
            values[0] += 4.0F;
        } else if (row == 0 || row > 6) {
            values[axesTaken / 2] = axesTaken % 2 == 0 ? length : -length;
            ++axesTaken;
        }
    };
    fillSide(library.queryShape, library.shapeMatrix, fill);
    axesTaken = 0;
    length = textLength;
    fillSide(library.queryText, library.textMatrix, fill);
    return library;
}

RandomLibrary libraryAtTheLargestDistance(std::uint32_t seed) {
    std::mt19937 random(seed);
    RandomLibrary library = zeros(1200);
    fillSide(library.queryText, library.textMatrix,
             [&](std::size_t /*row*/, float* values) { fillUniform(values, random); });
    fillSide(library.queryShape, library.shapeMatrix, [&](std::size_t row, float* values) {
        if (row > 15) {
            values[0] = 1e20F;
            return;
        }
        double squaredLength = 0.0;
        for (std::size_t c = 0; c < usedColumns; ++c) {
            values[c] = draw(random) - 0.5F;
            squaredLength += double{values[c]} * double{values[c]};
        }
        const double largest = std::sqrt(double{std::numeric_limits<float>::max()});
        const double length = row < 4 ? 1e12 : largest * (1.0 + (draw(random) - 0.25) * 1e-6);
        std::transform(values, values + usedColumns, values, [&](float value) {
            return static_cast<float>(double{value} * length / std::sqrt(squaredLength));
        });
    });
    return library;
}

}  // namespace quillon::test
