#include "support/random_library.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace quillon::test {
namespace {

/// Returns a whole number below `limit`. std:: distributions differ between standard libraries.
std::size_t draw(std::mt19937& random, std::size_t limit) {
    return random() % limit;
}

float drawUnit(std::mt19937& random) {
    return static_cast<float>(random() >> 8U) / static_cast<float>(1U << 24U);
}

void fillClustered(float* row, std::size_t width, std::size_t centre, float spread,
                   std::mt19937& random) {
    std::mt19937 centreRandom(static_cast<std::uint32_t>(centre * 7919 + width));
    double norm = 0.0;
    for (std::size_t c = 0; c < width; ++c) {
        row[c] = drawUnit(centreRandom) - 0.5F + spread * (drawUnit(random) - 0.5F);
        norm += double{row[c]} * double{row[c]};
    }
    for (std::size_t c = 0; c < width; ++c) {
        row[c] = static_cast<float>(row[c] / std::sqrt(norm));
    }
}

void fillRow(LibraryKind kind, float* row, std::size_t width, std::mt19937& random) {
    switch (kind) {
        case LibraryKind::uniform:
            for (std::size_t c = 0; c < width; ++c) {
                row[c] = (drawUnit(random) - 0.5F) * 0.1F;
            }
            break;
        case LibraryKind::clustered:
            fillClustered(row, width, draw(random, 8), draw(random, 4) == 0 ? 0.0F : 1.0F, random);
            break;
        case LibraryKind::lattice:
            for (std::size_t c = 0; c < 4; ++c) {
                row[c] = static_cast<float>(draw(random, 3)) * 0.5F;
            }
            break;
        case LibraryKind::oneHot:
            row[draw(random, width)] = 1.0F;
            break;
        case LibraryKind::allTwins:
            row[0] = 1.0F;
            break;
        case LibraryKind::notFinite: {
            constexpr std::array<float, 4> odd{std::numeric_limits<float>::quiet_NaN(),
                                               std::numeric_limits<float>::infinity(),
                                               -std::numeric_limits<float>::infinity(), 3e38F};
            fillClustered(row, width, draw(random, 8), 1.0F, random);
            if (draw(random, 12) == 0) {
                row[draw(random, width)] = odd[draw(random, odd.size())];
            }
            break;
        }
        case LibraryKind::nearTwins:
            fillClustered(row, width, draw(random, 3), 0.0F, random);
            for (std::size_t changes = draw(random, 4); changes > 0; --changes) {
                float& value = row[draw(random, width)];
                value = std::nextafter(value, draw(random, 2) == 0 ? 1.0F : -1.0F);
            }
            break;
        case LibraryKind::oneCommon:
            if (draw(random, 3) == 0) {
                fillClustered(row, width, 0, 0.0F, random);
            } else {
                fillClustered(row, width, draw(random, 8), 1.0F, random);
            }
            break;
        case LibraryKind::lengths: {
            constexpr std::array<float, 8> scales{1.0F,   1.0F,  1.0F,  1.0F,
                                                  1e-20F, 1e-3F, 1e10F, 1e20F};
            fillClustered(row, width, draw(random, 8), 1.0F, random);
            const float scale = scales[draw(random, scales.size())];
            std::transform(row, row + width, row, [&](float value) { return value * scale; });
            break;
        }
    }
}

FeatureMatrix makeMatrix(LibraryKind kind, std::size_t rowCount, std::size_t width,
                         std::mt19937& random) {
    FeatureMatrix matrix = FeatureMatrix::from_shape({rowCount, width});
    std::fill(matrix.begin(), matrix.end(), 0.0F);
    for (std::size_t r = 0; r < rowCount; ++r) {
        float* row = matrix.data() + r * width;
        // Copies of an earlier row, in all kinds.
        if (r > 0 && draw(random, 10) == 0) {
            const float* earlier = matrix.data() + draw(random, r) * width;
            std::copy(earlier, earlier + width, row);
        } else {
            fillRow(kind, row, width, random);
        }
    }
    return matrix;
}

}  // namespace

std::string nameOf(LibraryKind kind) {
    switch (kind) {
        case LibraryKind::uniform:
            return "uniform";
        case LibraryKind::clustered:
            return "clustered";
        case LibraryKind::lattice:
            return "lattice";
        case LibraryKind::oneHot:
            return "oneHot";
        case LibraryKind::allTwins:
            return "allTwins";
        case LibraryKind::notFinite:
            return "notFinite";
        case LibraryKind::nearTwins:
            return "nearTwins";
        case LibraryKind::oneCommon:
            return "oneCommon";
        case LibraryKind::lengths:
            return "lengths";
    }
    return "unknown";
}

RandomLibrary makeRandomLibrary(LibraryKind shapeKind, LibraryKind textKind, std::size_t rowCount,
                                std::uint32_t seed) {
    std::mt19937 random(seed);
    RandomLibrary library;
    library.shapeMatrix = makeMatrix(shapeKind, rowCount, shapeWidth, random);
    library.textMatrix = makeMatrix(textKind, rowCount, textWidth, random);
    library.queryShape = makeMatrix(shapeKind, 1, shapeWidth, random);
    library.queryText = makeMatrix(textKind, 1, textWidth, random);
    // Sometimes the query equals a library row, on either side.
    if (rowCount > 0 && draw(random, 3) == 0) {
        const float* twin = library.shapeMatrix.data() + draw(random, rowCount) * shapeWidth;
        std::copy(twin, twin + shapeWidth, library.queryShape.data());
    }
    if (rowCount > 0 && draw(random, 3) == 0) {
        const float* twin = library.textMatrix.data() + draw(random, rowCount) * textWidth;
        std::copy(twin, twin + textWidth, library.queryText.data());
    }
    return library;
}

}  // namespace quillon::test
