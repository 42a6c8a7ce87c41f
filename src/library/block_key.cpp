#include "library/block_key.h"

#include <algorithm>

namespace quillon {

std::vector<std::string_view> splitBlockKey(std::string_view text) {
    std::vector<std::string_view> fields;
    fields.reserve(3);
    std::size_t star = text.find('*');
    for (; star != std::string_view::npos; star = text.find('*')) {
        fields.push_back(text.substr(0, star));
        text.remove_prefix(star + 1);
    }
    fields.push_back(text);
    return fields;
}

bool hasThreeFields(std::string_view blockKey) {
    return std::count(blockKey.begin(), blockKey.end(), '*') >= 2;
}

}  // namespace quillon
