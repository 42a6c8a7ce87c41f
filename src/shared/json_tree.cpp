#include "shared/json_tree.h"

#include <iterator>

namespace quillon {
namespace {

using nlohmann::json;

bool hasChildren(const json& value) {
    return value.is_structured() && !value.empty();
}

json& lastChild(json& container) {
    return container.is_array() ? container.get_ref<json::array_t&>().back()
                                : std::prev(container.get_ref<json::object_t&>().end())->second;
}

void dropLastChild(json& container) {
    if (container.is_array()) {
        container.get_ref<json::array_t&>().pop_back();
    } else {
        auto& members = container.get_ref<json::object_t&>();
        members.erase(std::prev(members.end()));
    }
}

}  // namespace

// A container that has been entered keeps the way back in the place of the child that is taken
// apart, its last one. So no value is ever destroyed that has children.
void destroyIteratively(json& document) noexcept {
    json container = std::move(document);
    json parent;
    while (true) {
        if (hasChildren(container)) {
            json& last = lastChild(container);
            if (hasChildren(last)) {
                json child = std::move(last);
                last = std::move(parent);
                parent = std::move(container);
                container = std::move(child);
            } else {
                dropLastChild(container);
            }
        } else if (hasChildren(parent)) {
            container = std::move(parent);
            parent = std::move(lastChild(container));
            dropLastChild(container);
        } else {
            return;
        }
    }
}

}  // namespace quillon
