// A tree of the JSON data model that is destroyed without allocating memory.
#pragma once

#include <nlohmann/json.hpp>
#include <utility>

namespace quillon {

/// Empties `document`, whatever its size and depth, without allocating and without recursion. The
/// library's own destructor reserves memory for all elements at once, and ends the process where
/// that allocation fails: just when a tree has grown too large.
void destroyIteratively(nlohmann::json& document) noexcept;

/// Holds a document and destroys it iteratively in the end.
struct JsonTree {
    JsonTree() = default;
    explicit JsonTree(nlohmann::json&& document) noexcept : root(std::move(document)) {}
    JsonTree(const JsonTree&) = delete;
    JsonTree& operator=(const JsonTree&) = delete;
    ~JsonTree() { destroyIteratively(root); }

    nlohmann::json root;
};

}  // namespace quillon
