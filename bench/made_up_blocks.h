// Blocks with encodings that look like those of real drawings, drawn from their numbers alone: the
// same on every machine, in any order, on any number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "shared/feature_matrix.h"

namespace quillon::bench {

/// The contents that the block with this number has. Of four blocks about one repeats the contents
/// of an earlier block, as libraries of real drawings do; every other block has new ones.
std::uint64_t contentsOfBlock(std::uint64_t block);

/// "name*code*handle"; the code depends on `contents` alone. `isWholeDrawing` gives the handle "0".
std::string blockKey(std::uint64_t block, std::uint64_t contents, bool isWholeDrawing);

/// Writes unit vectors: 512 floats of which about half are 0 and none is negative, and 384 of both
/// signs. Contents gather around centres, of which a library of `libraryBlocks` blocks has one for
/// every 50 blocks; some centres have many more than others.
void fillShape(std::uint64_t contents, std::size_t libraryBlocks, float* row);
void fillText(std::uint64_t contents, std::size_t libraryBlocks, float* row);

/// Contents of a query: near a centre of the library, equal to none of its blocks.
inline constexpr std::uint64_t queryContents = std::uint64_t{1} << 40U;

/// How the vectors of a library lie.
enum class Spread {
    clustered,    // around centres, see above
    unclustered,  // each for itself
    copies,       // clustered, but 30 % of the rows have one text vector, 9 % one shape vector too
};

/// A library as the search methods take it, without duplicates, and a query.
struct SearchData {
    FeatureMatrix shapeMatrix;  // rows × 512
    FeatureMatrix textMatrix;   // rows × 384
    FeatureMatrix queryShape;   // 1 × 512
    FeatureMatrix queryText;    // 1 × 384
};

SearchData makeSearchData(std::size_t rows, Spread spread = Spread::clustered);

}  // namespace quillon::bench
