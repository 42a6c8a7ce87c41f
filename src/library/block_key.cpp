#include "library/block_key.h"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

namespace quillon {

std::vector<std::string> splitBlockKey(std::string_view text) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, text, boost::algorithm::is_any_of("*"));
    return fields;
}

bool hasThreeFields(std::string_view blockKey) {
    return std::count(blockKey.begin(), blockKey.end(), '*') >= 2;
}

}  // namespace quillon
