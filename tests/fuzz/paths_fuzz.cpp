// A drawing as it is fetched against the tree of its file taken apart: the same blocks to the bit,
// or the same failure; and what is well-formed takes the fast path.
#include <bit>
#include <cmath>
#include <cstdint>
#include <exception>
#include <nlohmann/json.hpp>
#include <string>

#include "documents/json_file.h"
#include "fuzz/fuzz_documents.h"
#include "library/document_blocks.h"
#include "library/fast_readers.h"
#include "library/fetch_drawing.h"
#include "shared/utf8_path.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

std::string textOf(const std::exception_ptr& failure) {
    if (!failure) {
        return {};
    }
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& exception) {
        return exception.what();
    }
}

/// Calls `action`; the text of its failure, or nothing.
template <class Action>
std::string failureOf(const Action& action) {
    try {
        action();
    } catch (...) {
        return textOf(std::current_exception());
    }
    return {};
}

bool haveSameRow(const GrowingRows& a, const GrowingRows& b, std::size_t index) {
    for (std::size_t i = 0; i < a.rowWidth(); ++i) {
        const float x = a.row(index)[i];
        const float y = b.row(index)[i];
        if (std::bit_cast<std::uint32_t>(x) != std::bit_cast<std::uint32_t>(y) &&
            !(std::isnan(x) && std::isnan(y))) {
            return false;
        }
    }
    return true;
}

void compareBlocks(const Drawing& fetched, const Drawing& plain) {
    require(textOf(fetched.failure) == textOf(plain.failure), "the documents end in the same way");
    require(fetched.diagnostics == plain.diagnostics, "the same diagnostics are behind the blocks");
    require(fetched.isNull == plain.isNull, "both know whether the file holds null");
    require(fetched.blocks.size() == plain.blocks.size(), "there are as many blocks");
    for (std::size_t i = 0; i < plain.blocks.size(); ++i) {
        const DrawingBlock& a = fetched.blocks[i];
        const DrawingBlock& b = plain.blocks[i];
        require(a.key == b.key && a.diagnostics == b.diagnostics,
                "keys and diagnostics are the same");
        require(textOf(a.failure) == textOf(b.failure), "the blocks' failures are the same");
        require(a.hasShape == b.hasShape, "the failures are of the same side");
        require(!b.hasShape || haveSameRow(fetched.shapes, plain.shapes, i), "the shapes are");
        require(b.failure || haveSameRow(fetched.texts, plain.texts, i), "the texts are");
    }
}

void comparePaths(const FuzzDocument& document) {
    static const TempFolder folder;
    static simdjson::dom::parser parser;
    const auto path = folder.write("drawing" + std::string(document.extension), document.bytes);
    Drawing fetched;
    Drawing plain;
    const std::string failure =
        failureOf([&] { fetched = fetchDrawing(utf8FromPath(path), parser); });
    const std::string plainFailure =
        failureOf([&] { plain = blocksOfDocument(readJsonFile(path)); });
    require(failure == plainFailure, "the file fails to be read in the same way");
    if (document.isWellFormed) {
        EncodingsFile file{nlohmann::json(utf8FromPath(path))};
        const FileBytes bytes = file.input.readAll();
        require(readFast(bytes.view(), file.format, path, parser).has_value(),
                "a well-formed drawing takes the fast path");
    }
    compareBlocks(fetched, plain);
}

}  // namespace
}  // namespace quillon::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    quillon::test::FuzzInput input(data, size);
    quillon::test::comparePaths(quillon::test::chooseDrawing(input));
    return 0;
}
