#include "library/block_records.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "documents/json_access.h"
#include "shared/console.h"
#include "shared/document_keys.h"

namespace quillon {
namespace {

using nlohmann::json;

/// A block that the checks let through.
struct CheckedBlock {
    std::string key;
    std::string code;
    const json& shape;
    const json& text;
};

/// Element `index`, or null past the end, which no check lets through. Throws type_error 305 when
/// `vectors` is no array.
const json& vectorAt(const json& vectors, std::size_t index) {
    static const json missing;
    return vectors.is_array() && index >= vectors.size() ? missing : elementOf(vectors, index);
}

bool hasWidth(const json& vector, std::size_t width) {
    return vector.is_structured() && vector.size() == width;
}

/// Appends all of the vector or, when an element is no number, nothing.
void appendVector(const json& vector, std::vector<float>& values) {
    const std::size_t before = values.size();
    try {
        for (const json& element : vector) {
            values.push_back(element.get<float>());
        }
    } catch (...) {
        values.resize(before);
        throw;
    }
}

void addBlock(CheckedBlock&& block,
              const std::shared_ptr<const std::filesystem::path>& encodingsPath, bool dedupe,
              MergeState& state, std::vector<BlockRecord>& records) {
    const bool isNew = state.seenCodes.insert(std::move(block.code)).second;
    if (dedupe && !isNew) {
        ++state.duplicateCount;
        return;
    }
    records.push_back({encodingsPath, std::move(block.key)});
    appendVector(block.shape, state.shapeValues);
    appendVector(block.text, state.textValues);
    ++state.uniqueCount;
}

}  // namespace

std::vector<std::string> splitBlockKey(std::string_view text) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, text, boost::algorithm::is_any_of("*"));
    return fields;
}

void addDrawingBlocks(const json& document,
                      const std::shared_ptr<const std::filesystem::path>& encodingsPath,
                      bool dedupe, MergeState& state, std::vector<BlockRecord>& records) {
    // A drawing without blocks needs no vectors.
    if (document.is_object() && document.contains(blocksKey) && document[blocksKey].empty()) {
        return;
    }
    const json& shapes = memberOf(document, shapeKey);
    const json& texts = memberOf(document, textKey);
    const json& blocks = memberOf(document, blocksKey);

    std::optional<CheckedBlock> deferred;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const json& shape = vectorAt(shapes, i);
        if (!hasWidth(shape, shapeWidth)) {
            print("Invalid shape vector for {}\n", elementOf(blocks, i));
            continue;
        }
        const json& text = vectorAt(texts, i);
        if (!hasWidth(text, textWidth)) {
            print("Invalid text vector for {}\n", elementOf(blocks, i));
            continue;
        }
        auto key = elementOf(blocks, i).get<std::string>();
        std::vector<std::string> fields = splitBlockKey(key);
        if (fields.size() < 3) {
            print("Warning: {}\n", "block key with fewer than three fields: " + key);
            continue;
        }
        CheckedBlock block{std::move(key), std::move(fields[1]), shape, text};
        if (fields[2] == "0") {
            deferred.emplace(std::move(block));
        } else {
            addBlock(std::move(block), encodingsPath, dedupe, state, records);
        }
    }
    if (deferred) {
        addBlock(std::move(*deferred), encodingsPath, dedupe, state, records);
    }
}

}  // namespace quillon
