// The fast path from CBOR and MessagePack, for what their encoders write of a drawing and nothing
// else.
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "library/block_key.h"
#include "library/fast_readers.h"
#include "library/packed_items.h"
#include "shared/document_keys.h"

namespace quillon {
namespace {

std::optional<std::string_view> takeText(PackedInput& input) {
    const PackedHead head = takeHead(input);
    if (head.kind != PackedKind::text || head.value > input.left()) {
        return std::nullopt;
    }
    const std::string_view text(input.at, static_cast<std::size_t>(head.value));
    input.at += text.size();
    return text;
}

/// How many items an array has; none where there is no array, or no room for items of `itemBytes`
/// at least.
std::optional<std::size_t> takeCount(PackedInput& input, std::size_t itemBytes) {
    const PackedHead head = takeHead(input);
    if (head.kind != PackedKind::array || head.value > input.left() / itemBytes) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(head.value);
}

bool takeKeys(PackedInput& input, std::vector<DrawingBlock>& blocks) {
    const std::optional<std::size_t> count = takeCount(input, 1);
    for (std::size_t i = 0; i < count.value_or(0); ++i) {
        const std::optional<std::string_view> key = takeText(input);
        if (!key || !hasThreeFields(*key)) {
            return false;
        }
        blocks.emplace_back().key = *key;
    }
    return count.has_value();
}

bool takeVectors(PackedInput& input, GrowingRows& rows) {
    const std::size_t width = rows.rowWidth();
    const std::optional<std::size_t> count = takeCount(input, width);
    rows.reserve(count.value_or(0));
    for (std::size_t i = 0; i < count.value_or(0); ++i) {
        if (takeCount(input, 1) != width || !takeRow(input, rows.append(), width)) {
            return false;
        }
    }
    return count.has_value();
}

bool takeMember(PackedInput& input, std::array<bool, 3>& seen, Drawing& drawing) {
    const std::optional<std::string_view> key = takeText(input);
    const auto isFirst = [&](const char* name, std::size_t member) {
        return key == name && !std::exchange(seen[member], true);
    };
    return isFirst(blocksKey, 0)  ? takeKeys(input, drawing.blocks)
           : isFirst(shapeKey, 1) ? takeVectors(input, drawing.shapes)
           : isFirst(textKey, 2)  ? takeVectors(input, drawing.texts)
                                  : false;
}

}  // namespace

std::optional<Drawing> readPackedFast(std::string_view bytes,
                                      nlohmann::json::input_format_t format) {
    PackedInput input{bytes.data(), bytes.data() + bytes.size(),
                      format == nlohmann::json::input_format_t::cbor};
    const PackedHead root = takeHead(input);
    if (root.kind != PackedKind::map || root.value != 3) {
        return std::nullopt;
    }
    Drawing drawing;
    std::array<bool, 3> seen{};
    for (std::size_t member = 0; member < seen.size(); ++member) {
        if (!takeMember(input, seen, drawing)) {
            return std::nullopt;
        }
    }
    if (input.left() != 0 || !hasEqualLengths(drawing)) {
        return std::nullopt;
    }
    return drawing;
}

}  // namespace quillon
