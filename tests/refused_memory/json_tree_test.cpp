// Trees of every shape are taken apart without one request for memory.
#include "shared/json_tree.h"

#include <gtest/gtest.h>

#include <utility>

#include "refused_memory/refusing_allocator.h"

namespace quillon::test {
namespace {

using nlohmann::json;

void expectDestroyed(json document) {
    failAllocations(0);
    destroyIteratively(document);
    const bool isNull = document.is_null();
    EXPECT_FALSE(allowAllocations());
    EXPECT_TRUE(isNull);
}

TEST(DestroyIteratively, EmptiesLeavesAndContainers) {
    expectDestroyed(nullptr);
    expectDestroyed("a text that lies outside its value");
    expectDestroyed(json::array());
    expectDestroyed(json::object());
    expectDestroyed({1, "two", {3, {{"four", {5, json::array(), json::object()}}, {"six", 7}}, 8}});
    expectDestroyed({{"a", {{"b", {{"c", nullptr}}}, {"d", {1, {2, {3}}}}}}, {"e", {{{"f", 1}}}}});
    expectDestroyed(json::binary({1, 2, 3}));
}

TEST(DestroyIteratively, EmptiesWideDocuments) {
    json document = json::array();
    for (int i = 0; i < 20000; ++i) {
        document.push_back({{"name", "a text that lies outside its value"}, {"row", {i, {i}, i}}});
    }
    expectDestroyed(std::move(document));
}

TEST(DestroyIteratively, EmptiesDeepDocuments) {
    json document;
    for (int i = 0; i < 200000; ++i) {
        json outer = i % 2 == 0 ? json::array() : json::object();
        if (i % 2 == 0) {
            outer.push_back(std::move(document));
            outer.push_back(i % 4);
        } else {
            outer["inner"] = std::move(document);
        }
        document = std::move(outer);
    }
    expectDestroyed(std::move(document));
}

TEST(JsonTree, DestroysIteratively) {
    {
        JsonTree document(json{{"a", {1, {2, 3}}}});
        failAllocations(0);
    }
    EXPECT_FALSE(allowAllocations());
}

}  // namespace
}  // namespace quillon::test
