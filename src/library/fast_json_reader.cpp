// The fast path from JSON text.
#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "documents/input_file.h"
#include "library/block_key.h"
#include "library/fast_readers.h"
#include "shared/document_keys.h"
#include "shared/feature_matrix.h"

namespace quillon {
namespace {

/// The parser chooses among its kinds of code for this processor at its first use, and ends the
/// process when memory is exhausted by then. So it is used ahead of everything.
static_assert(FileBytes::padding >= simdjson::SIMDJSON_PADDING);
[[maybe_unused]] const std::string chosenCode = simdjson::get_active_implementation()->name();

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::element_type;

/// Numbers narrow from the type that the text gives them: a whole number goes to float32 directly,
/// not by way of a double, which would round twice.
bool appendNumber(element number, float*& next) {
    switch (number.type()) {
        case element_type::DOUBLE:
            *next++ = static_cast<float>(double{number});
            return true;
        case element_type::INT64:
            *next++ = static_cast<float>(std::int64_t{number});
            return true;
        case element_type::UINT64:
            *next++ = static_cast<float>(std::uint64_t{number});
            return true;
        default:
            return false;
    }
}

bool appendVectors(array vectors, GrowingRows& rows) {
    for (const element vector : vectors) {
        array numbers;
        if (vector.get(numbers) != simdjson::SUCCESS || numbers.size() != rows.rowWidth()) {
            return false;
        }
        float* next = rows.append();
        for (const element number : numbers) {
            if (!appendNumber(number, next)) {
                return false;
            }
        }
    }
    return true;
}

bool appendKeys(array keys, std::vector<DrawingBlock>& blocks) {
    for (const element key : keys) {
        std::string_view text;
        if (key.get(text) != simdjson::SUCCESS || !hasThreeFields(text)) {
            return false;
        }
        blocks.emplace_back().key = text;
    }
    return true;
}

}  // namespace

std::optional<Drawing> readJsonFast(std::string_view bytes, simdjson::dom::parser& parser) {
    simdjson::dom::object root;
    const simdjson::error_code error = parser.parse(bytes.data(), bytes.size(), false).get(root);
    if (error == simdjson::MEMALLOC) {
        // A parser that lacks a part of its memory does not notice when it is used again.
        parser = simdjson::dom::parser();
        throw std::bad_alloc();
    }
    if (error != simdjson::SUCCESS) {
        return std::nullopt;
    }
    const std::array<std::string_view, 3> names{blocksKey, shapeKey, textKey};
    std::array<std::optional<array>, 3> members;
    for (const auto& [key, value] : root) {
        for (std::size_t m = 0; m < names.size(); ++m) {
            if (key == names[m]) {
                array items;
                if (members[m] || value.get(items) != simdjson::SUCCESS) {
                    return std::nullopt;
                }
                members[m] = items;
            }
        }
    }
    Drawing drawing;
    if (members[0] && members[1] && members[2] && appendKeys(*members[0], drawing.blocks) &&
        appendVectors(*members[1], drawing.shapes) && appendVectors(*members[2], drawing.texts) &&
        hasEqualLengths(drawing)) {
        return drawing;
    }
    return std::nullopt;
}

}  // namespace quillon
