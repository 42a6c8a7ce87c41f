#include "made_up_blocks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace quillon::bench {
namespace {

/// The splitmix64 generator. Its state is a counter, so every number is a good seed.
class DrawnNumbers {
  public:
    explicit DrawnNumbers(std::uint64_t seed) : state(seed * 0xD1342543DE82EF95U + 1) {}

    std::uint64_t next() {
        std::uint64_t mixed = state += 0x9E3779B97F4A7C15U;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

    /// Returns a number from 0 to below 1.
    float unit() { return static_cast<float>(next() >> 40U) / static_cast<float>(1U << 24U); }
    float centred() { return unit() - 0.5F; }

  private:
    std::uint64_t state;
};

/// The purpose of a random number. Different purposes have different seeds.
enum class Use : std::uint64_t { repeat = 1, key = 2, shape = 3, text = 4 };

DrawnNumbers numbersFor(Use use, std::uint64_t number) {
    return DrawnNumbers((number << 4U) + static_cast<std::uint64_t>(use));
}

/// Because of the square, the first centres have many blocks, as walls and doors have in drawings.
std::uint64_t centreOf(DrawnNumbers& numbers, std::size_t libraryBlocks) {
    const float drawn = numbers.unit();
    const std::size_t centres = 1 + libraryBlocks / 50;
    return static_cast<std::uint64_t>(drawn * drawn * static_cast<float>(centres));
}

void fillRow(Use use, std::uint64_t contents, std::size_t libraryBlocks, std::size_t width,
             float lowest, float* row) {
    constexpr std::uint64_t firstCentre = std::uint64_t{1} << 50U;
    DrawnNumbers own = numbersFor(use, contents);
    DrawnNumbers centre = numbersFor(use, firstCentre + centreOf(own, libraryBlocks));
    const float spread = 0.1F + 0.6F * own.unit();
    float squares = 0.0F;
    for (std::size_t i = 0; i < width; ++i) {
        row[i] = std::max(lowest, centre.centred() + spread * own.centred());
        squares += row[i] * row[i];
    }
    const float scale = 1.0F / std::sqrt(squares);
    for (std::size_t i = 0; i < width; ++i) {
        row[i] *= scale;
    }
}

}  // namespace

std::uint64_t contentsOfBlock(std::uint64_t block) {
    DrawnNumbers numbers = numbersFor(Use::repeat, block);
    while (block > 0 && numbers.next() % 4 == 0) {
        block = numbers.next() % block;
        numbers = numbersFor(Use::repeat, block);
    }
    return block;
}

std::string blockKey(std::uint64_t block, std::uint64_t contents, bool isWholeDrawing) {
    static constexpr std::array<const char*, 8> names{"DOOR", "WINDOW", "CHAIR", "VALVE",
                                                      "PUMP", "FLANGE", "STAIR", "_U"};
    DrawnNumbers numbers = numbersFor(Use::key, contents);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%s_%llu*%016llX*%llX", names[numbers.next() % 8],
                  static_cast<unsigned long long>(contents),
                  static_cast<unsigned long long>(numbers.next()),
                  isWholeDrawing ? 0ULL : static_cast<unsigned long long>(block) + 0x100U);
    return text.data();
}

void fillShape(std::uint64_t contents, std::size_t libraryBlocks, float* row) {
    fillRow(Use::shape, contents, libraryBlocks, shapeWidth, 0.0F, row);
}

void fillText(std::uint64_t contents, std::size_t libraryBlocks, float* row) {
    fillRow(Use::text, contents, libraryBlocks, textWidth, -1.0F, row);
}

SearchData makeSearchData(std::size_t rows, Spread spread) {
    // So many centres that hardly any two rows have the same.
    const std::size_t libraryBlocks = spread == Spread::unclustered ? rows * 5000 : rows;
    SearchData data;
    data.shapeMatrix = FeatureMatrix::from_shape({rows, shapeWidth});
    data.textMatrix = FeatureMatrix::from_shape({rows, textWidth});
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t percent = spread == Spread::copies ? row * 7 % 100 : 100;
        fillShape(percent < 9 ? 0 : row, libraryBlocks, data.shapeMatrix.data() + row * shapeWidth);
        fillText(percent < 30 ? 0 : row, libraryBlocks, data.textMatrix.data() + row * textWidth);
    }
    data.queryShape = FeatureMatrix::from_shape({1, shapeWidth});
    data.queryText = FeatureMatrix::from_shape({1, textWidth});
    fillShape(queryContents, libraryBlocks, data.queryShape.data());
    fillText(queryContents, libraryBlocks, data.queryText.data());
    return data;
}

}  // namespace quillon::bench
