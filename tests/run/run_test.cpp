// The choice of the method. tests/program tests the stages of a run.
#include "run/run.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "search/adaptive.h"
#include "search/simple.h"
#include "search/single_side.h"
#include "support/failure_texts.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

using test::LibraryKind;

struct SearchArguments {
    QueryBlock query;
    BlockLibrary library;
};

SearchArguments clustered() {
    test::RandomLibrary random =
        test::makeRandomLibrary(LibraryKind::clustered, LibraryKind::clustered, 60, 5);
    SearchArguments arguments;
    arguments.query = {random.queryShape, random.queryText};
    arguments.library.shapeMatrix = random.shapeMatrix;
    arguments.library.textMatrix = random.textMatrix;
    return arguments;
}

void expectSameHits(const std::vector<SearchResult>& actual,
                    const std::vector<SearchResult>& expected) {
    EXPECT_FALSE(expected.empty());
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(actual[i].index, expected[i].index) << i;
        EXPECT_EQ(actual[i].distOrScore, expected[i].distOrScore) << i;
    }
}

TEST(SearchLibrary, TakesTheMethodOfTheQueryType) {
    const auto [query, library] = clustered();
    constexpr float threshold = -1.0F;
    std::vector<SearchResult> hits;
    searchAdaptive(7, query.shape, query.text, library.shapeMatrix, library.textMatrix, threshold,
                   hits);
    expectSameHits(searchLibrary(QueryType::Adaptive, 7, query, library, threshold), hits);
    hits.clear();
    searchByShape(7, query.shape, library.shapeMatrix, threshold, hits);
    expectSameHits(searchLibrary(QueryType::ByShape, 7, query, library, threshold), hits);
    hits.clear();
    searchByText(7, query.text, library.textMatrix, threshold, hits);
    expectSameHits(searchLibrary(QueryType::ByText, 7, query, library, threshold), hits);
    hits.clear();
    searchSimple(7, query.shape, query.text, library.shapeMatrix, library.textMatrix, threshold,
                 hits);
    expectSameHits(searchLibrary(QueryType::Simple, 7, query, library, threshold), hits);
}

TEST(SearchLibrary, RejectsATypeThatIsNotAMethod) {
    const SearchArguments arguments = clustered();
    for (const auto type : {QueryType::NotChosen, static_cast<QueryType>(5)}) {
        EXPECT_EQ(test::thrownText<std::invalid_argument>(
                      [&] { searchLibrary(type, 1, arguments.query, arguments.library, 0.3F); }),
                  "invalid query type");
    }
}

}  // namespace
}  // namespace quillon::test
