// The key text of a block: fields separated by "*", of which the first three are its name, its code
// and its handle.
#pragma once

#include <string_view>
#include <vector>

namespace quillon {

/// The fields of a block key, which lie in it: the text cut at every "*"; two adjacent ones yield
/// an empty field.
std::vector<std::string_view> splitBlockKey(std::string_view text);

/// Name, code and handle: what every key must have at least.
bool hasThreeFields(std::string_view blockKey);

}  // namespace quillon
