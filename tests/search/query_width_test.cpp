// What each method makes of a query that is narrower or wider than the library, on either side.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>
#include <xtensor/xexception.hpp>

#include "search/adaptive.h"
#include "search/simple.h"
#include "search/single_side.h"
#include "support/failure_texts.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

using Hits = std::vector<SearchResult>;

Hits adaptive(const RandomLibrary& library) {
    Hits hits;
    searchAdaptive(3, library.queryShape, library.queryText, library.shapeMatrix,
                   library.textMatrix, -1.0F, hits);
    return hits;
}

Hits simple(const RandomLibrary& library) {
    Hits hits;
    searchSimple(3, library.queryShape, library.queryText, library.shapeMatrix, library.textMatrix,
                 -1.0F, hits);
    return hits;
}

Hits byShape(const RandomLibrary& library) {
    Hits hits;
    searchByShape(3, library.queryShape, library.shapeMatrix, -1.0F, hits);
    return hits;
}

Hits byText(const RandomLibrary& library) {
    Hits hits;
    searchByText(3, library.queryText, library.textMatrix, -1.0F, hits);
    return hits;
}

RandomLibrary clustered() {
    return makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 40, 3);
}

/// The first columns of `query`, or all of them and ones behind.
FeatureMatrix ofWidth(const FeatureMatrix& query, std::size_t width) {
    FeatureMatrix other = FeatureMatrix::from_shape({1, width});
    for (std::size_t c = 0; c < width; ++c) {
        other(0, c) = c < query.shape(1) ? query(0, c) : 1.0F;
    }
    return other;
}

RandomLibrary withShapeWidth(std::size_t width) {
    RandomLibrary library = clustered();
    library.queryShape = ofWidth(library.queryShape, width);
    return library;
}

RandomLibrary withTextWidth(std::size_t width) {
    RandomLibrary library = clustered();
    library.queryText = ofWidth(library.queryText, width);
    return library;
}

constexpr std::size_t narrowShapes[] = {0, 1, shapeWidth - 1};
constexpr std::size_t narrowTexts[] = {0, 1, textWidth - 1};

TEST(QueryWidth, AdaptiveTakesNoneButTheLibrarys) {
    const auto expectRefusal = [](const RandomLibrary& library) {
        EXPECT_EQ(thrownText<xt::concatenate_error>([&] { adaptive(library); }),
                  "Incompatible dimension of arrays, compile in DEBUG for more info");
    };
    for (const std::size_t width :
         {std::size_t{0}, std::size_t{1}, shapeWidth - 1, shapeWidth + 1, 2 * shapeWidth}) {
        expectRefusal(withShapeWidth(width));
    }
    for (const std::size_t width :
         {std::size_t{0}, std::size_t{1}, textWidth - 1, textWidth + 1, 2 * textWidth}) {
        expectRefusal(withTextWidth(width));
    }
    EXPECT_EQ(adaptive(clustered()).size(), 3U);
}

std::string narrow(const std::string& side, std::size_t width, std::size_t libraryWidth) {
    return "the query's " + side + " vector has " + std::to_string(width) +
           " elements, the library's rows have " + std::to_string(libraryWidth);
}

TEST(QueryWidth, TheOthersRefuseANarrowOne) {
    for (const std::size_t width : narrowShapes) {
        for (const auto& search : {byShape, simple}) {
            EXPECT_EQ(thrownText<std::invalid_argument>([&] { search(withShapeWidth(width)); }),
                      narrow("shape", width, 512));
        }
    }
    for (const std::size_t width : narrowTexts) {
        for (const auto& search : {byText, simple}) {
            EXPECT_EQ(thrownText<std::invalid_argument>([&] { search(withTextWidth(width)); }),
                      narrow("text", width, 384));
        }
    }
}

TEST(QueryWidth, SimpleNamesTheShapesFirst) {
    RandomLibrary library = withShapeWidth(7);
    library.queryText = ofWidth(library.queryText, 9);
    EXPECT_EQ(thrownText<std::invalid_argument>([&] { simple(library); }), narrow("shape", 7, 512));
}

std::vector<std::int64_t> indexesOf(const Hits& hits) {
    std::vector<std::int64_t> indexes;
    for (const SearchResult& hit : hits) {
        indexes.push_back(hit.index);
    }
    return indexes;
}

/// The query is no row's twin, so that columns behind the library's change nothing.
TEST(QueryWidth, TheOthersReadTheFirstColumnsOfAWideOne) {
    for (const std::size_t more : {1U, 100U}) {
        EXPECT_EQ(indexesOf(byShape(withShapeWidth(shapeWidth + more))),
                  indexesOf(byShape(clustered())));
        EXPECT_EQ(indexesOf(simple(withShapeWidth(shapeWidth + more))),
                  indexesOf(simple(clustered())));
        EXPECT_EQ(indexesOf(byText(withTextWidth(textWidth + more))),
                  indexesOf(byText(clustered())));
        EXPECT_EQ(indexesOf(simple(withTextWidth(textWidth + more))),
                  indexesOf(simple(clustered())));
    }
    EXPECT_FALSE(simple(clustered()).empty());
}

/// A side that a method does not look at may have any width.
TEST(QueryWidth, OneSideAloneDoesNotAskForTheOther) {
    EXPECT_EQ(indexesOf(byShape(withTextWidth(0))), indexesOf(byShape(clustered())));
    EXPECT_EQ(indexesOf(byText(withShapeWidth(0))), indexesOf(byText(clustered())));
}

}  // namespace
}  // namespace quillon::test
