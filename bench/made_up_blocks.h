// Blocks with encodings like those of real drawings. They depend only on the numbers of the blocks,
// so they are the same on every machine, in any order and on any number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "shared/feature_matrix.h"

namespace quillon::bench {

/// Returns the contents of the block with this number. About one of four blocks has the contents of
/// an earlier block, as in real drawings. All others have new contents.
std::uint64_t contentsOfBlock(std::uint64_t block);

/// Returns "name*code*handle". The code depends only on `contents`. `isWholeDrawing` gives the
/// handle "0".
std::string blockKey(std::uint64_t block, std::uint64_t contents, bool isWholeDrawing);

/// Writes unit vectors: 512 floats of which about half are 0 and none is negative, and 384 floats
/// of both signs. They are near centres. A library of `libraryBlocks` blocks has a centre for every
/// 50 blocks; some centres have many more blocks than others.
void fillShape(std::uint64_t contents, std::size_t libraryBlocks, float* row);
void fillText(std::uint64_t contents, std::size_t libraryBlocks, float* row);

/// Returns the contents of a query, near a centre and different from all blocks.
inline constexpr std::uint64_t queryContents = std::uint64_t{1} << 40U;

/// The distribution of vectors.
enum class Spread {
    clustered,    // around centres, see above
    unclustered,  // far from each other
    copies,       // clustered, but 30 % of the rows have one text vector, 9 % one shape vector too
};

/// A library for the search methods, without duplicates, and a query.
struct SearchData {
    FeatureMatrix shapeMatrix;  // rows × 512
    FeatureMatrix textMatrix;   // rows × 384
    FeatureMatrix queryShape;   // 1 × 512
    FeatureMatrix queryText;    // 1 × 384
};

SearchData makeSearchData(std::size_t rows, Spread spread = Spread::clustered);

}  // namespace quillon::bench
