#include "documents/query_block.h"

#include <nlohmann/json.hpp>
#include <string>

#include "documents/json_access.h"
#include "documents/json_file.h"
#include "documents/query_text.h"
#include "shared/document_keys.h"
#include "shared/json_tree.h"

namespace quillon {
namespace {

using nlohmann::json;

/// Row 0 of an array of rows, 1 × 0 where there is none. The rows behind it are dropped, but their
/// elements must be numbers too, as far as row 0 is wide.
FeatureMatrix firstRow(const json& rows) {
    const bool hasRow = rows.is_array() && !rows.empty() && rows.front().is_array();
    const std::size_t width = hasRow ? rows.front().size() : 0;
    FeatureMatrix matrix = FeatureMatrix::from_shape({1, width});
    if (width == 0) {
        return matrix;
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        for (std::size_t c = 0; c < width; ++c) {
            const auto value = elementOf(rows[r], c).get<float>();
            if (r == 0) {
                matrix(0, c) = value;
            }
        }
    }
    return matrix;
}

}  // namespace

void readQueryBlock(const std::filesystem::path& path, QueryType& queryType, QueryBlock& query) {
    const JsonTree document(readJsonFile(path));
    const json& shape = memberOf(document.root, shapeKey);
    const json& text = memberOf(document.root, textKey);
    const json& queryText = memberOf(document.root, queryTextKey);
    query.shape = firstRow(shape);
    query.text = firstRow(text);
    if (!queryText.empty() && isMeaninglessText(elementOf(queryText, 0).get<std::string>())) {
        queryType = QueryType::ByShape;
    }
}

}  // namespace quillon
