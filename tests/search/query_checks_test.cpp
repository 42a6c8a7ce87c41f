// What the search methods ask of the query's vectors.
#include "search/query_checks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <vector>
#include <xtensor/xexception.hpp>

#include "support/failure_texts.h"

namespace quillon::test {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

FeatureMatrix queryOf(const std::vector<float>& values) {
    FeatureMatrix query = FeatureMatrix::from_shape({1, values.size()});
    std::copy(values.begin(), values.end(), query.begin());
    return query;
}

FeatureMatrix matrixOfWidth(std::size_t rows, std::size_t width) {
    FeatureMatrix matrix = FeatureMatrix::from_shape({rows, width});
    matrix.fill(0.0F);
    return matrix;
}

TEST(EqualsQuery, ComparesElementsAsFloats) {
    FeatureMatrix matrix = matrixOfWidth(3, 3);
    const std::vector<float> values{1, 2, 3, 0, -0.0F, nan, 0, 0, 4};
    std::copy(values.begin(), values.end(), matrix.begin());
    const struct {
        std::size_t row;
        std::vector<float> query;
        bool equal;
    } cases[] = {
        {0, {1, 2, 3}, true},     {1, {1, 2, 3}, false},
        {2, {-0.0F, 0, 4}, true}, {0, {0, 2, 3}, false},
        {0, {1, 2, 4}, false},    {1, {0, 0, nan}, false},
        {0, {1, 2}, false},       {0, {1, 2, 3, 0}, false},
        {0, {}, false},           {0, {1, 2.0000002F, 3}, false},
    };
    for (const auto& [row, query, equal] : cases) {
        EXPECT_EQ(equalsQuery(matrix, row, queryOf(query)), equal)
            << row << " " << testing::PrintToString(query);
    }
}

TEST(CheckQueryWidth, RefusesAQueryNarrowerThanTheLibrary) {
    EXPECT_EQ(thrownText<std::invalid_argument>(
                  [] { checkQueryWidth(matrixOfWidth(1, 511), matrixOfWidth(3, 512), "shape"); }),
              "the query's shape vector has 511 elements, the library's rows have 512");
    EXPECT_EQ(thrownText<std::invalid_argument>(
                  [] { checkQueryWidth(matrixOfWidth(1, 0), matrixOfWidth(0, 384), "text"); }),
              "the query's text vector has 0 elements, the library's rows have 384");
    EXPECT_NO_THROW(checkQueryWidth(matrixOfWidth(1, 384), matrixOfWidth(3, 384), "text"));
    EXPECT_NO_THROW(checkQueryWidth(matrixOfWidth(1, 385), matrixOfWidth(3, 384), "text"));
}

TEST(CheckSameWidth, RefusesAQueryOfAnotherWidth) {
    for (const std::size_t width : {0U, 1U, 511U, 513U, 1024U}) {
        EXPECT_EQ(thrownText<xt::concatenate_error>(
                      [&] { checkSameWidth(matrixOfWidth(1, width), matrixOfWidth(3, 512)); }),
                  "Incompatible dimension of arrays, compile in DEBUG for more info")
            << width;
    }
    EXPECT_NO_THROW(checkSameWidth(matrixOfWidth(1, 512), matrixOfWidth(3, 512)));
    EXPECT_NO_THROW(checkSameWidth(matrixOfWidth(1, 512), matrixOfWidth(0, 512)));
}

}  // namespace
}  // namespace quillon::test
