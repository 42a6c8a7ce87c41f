// The straight road against the exact one: what it takes, the other takes too, with the same
// blocks to the bit; and what is regular it does take.
#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>

#include "documents/json_file.h"
#include "fuzz/fuzz_documents.h"
#include "library/document_blocks.h"
#include "library/regular_drawing.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

std::optional<DrawingBlocks> readStraight(const FuzzDocument& document,
                                          nlohmann::json::input_format_t format) {
    if (format != nlohmann::json::input_format_t::json) {
        return readRegularBinary(document.bytes, format);
    }
    static simdjson::dom::parser parser;
    std::string padded = document.bytes;
    padded.resize(padded.size() + simdjson::SIMDJSON_PADDING);
    return readRegularJson(parser, padded.data(), document.bytes.size());
}

/// Nothing where the document does not even parse.
std::optional<DrawingBlocks> readExactly(const std::filesystem::path& path) {
    try {
        const nlohmann::json document = readJsonFile(path);
        return blocksOfDocument(document);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

bool haveSameRows(const GrowingRows& a, const GrowingRows& b) {
    if (a.rows() != b.rows()) {
        return false;
    }
    for (std::size_t i = 0; i < a.rows() * a.rowWidth(); ++i) {
        const float x = a.row(0)[i];
        const float y = b.row(0)[i];
        if (std::bit_cast<std::uint32_t>(x) != std::bit_cast<std::uint32_t>(y) &&
            !(std::isnan(x) && std::isnan(y))) {
            return false;
        }
    }
    return true;
}

void compareRoads(const FuzzDocument& document) {
    static const TempFolder folder;
    const auto path = folder.write("drawing" + std::string(document.extension), document.bytes);
    const std::optional<DrawingBlocks> straight =
        readStraight(document, documentFormat(path).value());
    const std::optional<DrawingBlocks> exact = readExactly(path);
    require(straight || !document.isRegular, "a regular drawing takes the straight road");
    if (!straight) {
        return;
    }
    require(exact.has_value(), "what the straight road takes does parse");
    require(!exact->failure && !exact->isNull && exact->remarks.empty(),
            "what the straight road takes is a whole drawing");
    require(straight->blocks.size() == exact->blocks.size(), "both roads find as many blocks");
    for (std::size_t i = 0; i < exact->blocks.size(); ++i) {
        const DrawingBlock& block = exact->blocks[i];
        require(!block.shapeFault && !block.textFault && block.remarks.empty(),
                "no block that the straight road takes has a fault");
        require(straight->blocks[i].key == block.key, "both roads find the same keys");
    }
    require(haveSameRows(straight->shapes, exact->shapes), "both roads find the same shapes");
    require(haveSameRows(straight->texts, exact->texts), "both roads find the same texts");
}

}  // namespace
}  // namespace quillon::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    quillon::test::FuzzInput input(data, size);
    quillon::test::compareRoads(quillon::test::chooseDrawing(input));
    return 0;
}
