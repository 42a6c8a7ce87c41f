#include "library/document_blocks.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "documents/json_access.h"
#include "library/block_key.h"
#include "shared/console.h"
#include "shared/document_keys.h"
#include "shared/feature_matrix.h"

namespace quillon {
namespace {

using nlohmann::json;

/// Element `index`, or null past the end, which no check lets through. Throws type_error 305 when
/// `vectors` is no array.
const json& vectorAt(const json& vectors, std::size_t index) {
    static const json missing;
    return vectors.is_array() && index >= vectors.size() ? missing : elementOf(vectors, index);
}

bool hasWidth(const json& vector, std::size_t width) {
    return vector.is_structured() && vector.size() == width;
}

/// Appends the numbers of a vector, narrowed to float32. Returns why it could not.
std::exception_ptr appendVector(const json& vector, GrowingRows& rows) {
    float* next = rows.append();
    try {
        for (const json& element : vector) {
            *next++ = element.get<float>();
        }
    } catch (const json::exception&) {
        return std::current_exception();
    }
    return nullptr;
}

/// Appends to `drawing` until the end or the first failure; `console` takes the diagnostics.
void appendBlocks(const json& document, Drawing& drawing, std::ostringstream& console) {
    // A drawing without blocks needs no vectors.
    if (document.is_object() && document.contains(blocksKey) && document[blocksKey].empty()) {
        return;
    }
    const json& shapes = memberOf(document, shapeKey);
    const json& texts = memberOf(document, textKey);
    const json& blocks = memberOf(document, blocksKey);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const json& shape = vectorAt(shapes, i);
        if (!hasWidth(shape, shapeWidth)) {
            printTo(console, "Invalid shape vector for {}\n", elementOf(blocks, i));
            continue;
        }
        const json& text = vectorAt(texts, i);
        if (!hasWidth(text, textWidth)) {
            printTo(console, "Invalid text vector for {}\n", elementOf(blocks, i));
            continue;
        }
        auto key = elementOf(blocks, i).get<std::string>();
        if (!hasThreeFields(key)) {
            printTo(console, "Warning: {}\n", "block key with fewer than three fields: " + key);
            continue;
        }
        DrawingBlock block;
        block.key = std::move(key);
        block.diagnostics = console.str();
        console.str({});
        block.failure = appendVector(shape, drawing.shapes);
        block.hasShape = !block.failure;
        const std::exception_ptr textFailure = appendVector(text, drawing.texts);
        if (block.hasShape) {
            block.failure = textFailure;
        }
        drawing.blocks.push_back(std::move(block));
    }
}

}  // namespace

Drawing blocksOfDocument(const json& document) {
    Drawing drawing;
    drawing.isNull = document.is_null();
    std::ostringstream console;
    console.exceptions(std::ios::badbit);  // otherwise a failed allocation drops text silently
    try {
        appendBlocks(document, drawing, console);
    } catch (const json::exception&) {
        drawing.failure = std::current_exception();
    }
    // A message that broke off in the middle stands on the console as far as it got.
    drawing.diagnostics = console.str();
    return drawing;
}

}  // namespace quillon
