#include "search/query_checks.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <xtensor/xexception.hpp>

namespace quillon {

bool equalsQuery(const FeatureMatrix& matrix, std::size_t row, const FeatureMatrix& query) {
    const std::size_t width = matrix.shape(1);
    const float* values = matrix.data() + row * width;
    return query.shape(1) == width && std::equal(values, values + width, query.data());
}

void checkQueryWidth(const FeatureMatrix& query, const FeatureMatrix& matrix, const char* side) {
    if (query.shape(1) < matrix.shape(1)) {
        throw std::invalid_argument(
            std::string("the query's ") + side + " vector has " + std::to_string(query.shape(1)) +
            " elements, the library's rows have " + std::to_string(matrix.shape(1)));
    }
}

void checkSameWidth(const FeatureMatrix& query, const FeatureMatrix& matrix) {
    if (query.shape(1) != matrix.shape(1)) {
        throw xt::concatenate_error(
            "Incompatible dimension of arrays, compile in DEBUG for more info");
    }
}

}  // namespace quillon
