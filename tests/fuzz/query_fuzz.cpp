// Query documents: two rows as the document has them and a method, or an exception of the known
// types.
#include <cstdint>
#include <stdexcept>

#include "documents/json_file.h"
#include "documents/query_block.h"
#include "documents/query_text.h"
#include "fuzz/fuzz_documents.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;

void requireRow(const json& rows, const FeatureMatrix& row) {
    require(row.shape(0) == 1, "a query has one row");
    const bool hasRow = rows.is_array() && !rows.empty() && rows[0].is_array();
    require(row.shape(1) == (hasRow ? rows[0].size() : 0), "the row is as wide as the document's");
    for (std::size_t i = 0; i < row.shape(1); ++i) {
        const auto value = rows[0][i].get<float>();
        require(row(0, i) == value || (row(0, i) != row(0, i) && value != value),
                "the row has the document's numbers");
    }
}

void readQuery(const FuzzDocument& document) {
    static const TempFolder folder;
    const auto path = folder.write("query" + std::string(document.extension), document.bytes);
    QueryType type = QueryType::Simple;
    QueryBlock query;
    try {
        readQueryBlock(path, type, query);
    } catch (const std::runtime_error&) {
        return;
    } catch (const json::exception&) {
        return;
    }
    const json tree = readJsonFile(path);
    requireRow(tree.at("shape"), query.shape);
    requireRow(tree.at("text"), query.text);
    const json& texts = tree.at("queryText");
    const bool isMeaningless = !texts.empty() && isMeaninglessText(texts.at(0).get<std::string>());
    require(type == (isMeaningless ? QueryType::ByShape : QueryType::Simple),
            "only a text without meaning changes the method");
}

}  // namespace
}  // namespace quillon::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    quillon::test::FuzzInput input(data, size);
    quillon::test::readQuery(quillon::test::chooseQuery(input));
    return 0;
}
