// What is fetched from the encodings files of each format, well-formed or not.
#include "library/fetch_drawing.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>
#include <string>

#include "shared/utf8_path.h"
#include "support/failure_texts.h"
#include "support/formats.h"
#include "support/odd_documents.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;

Drawing fetched(const std::filesystem::path& path) {
    simdjson::dom::parser parser;
    return fetchDrawing(utf8FromPath(path), parser);
}

void expectBlocks(const Drawing& blocks, const json& document) {
    const std::size_t count = document["blocks"].size();
    ASSERT_EQ(blocks.blocks.size(), count);
    EXPECT_EQ(blocks.shapes.rowCount(), count);
    EXPECT_EQ(blocks.texts.rowCount(), count);
    EXPECT_EQ(blocks.diagnostics, "");
    EXPECT_FALSE(blocks.failure);
    EXPECT_FALSE(blocks.isNull);
    EXPECT_TRUE(blocks.isReadable);
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(blocks.blocks[i].key, document["blocks"][i].get<std::string>());
        EXPECT_EQ(blocks.blocks[i].diagnostics, "");
        for (std::size_t c = 0; c < 512; ++c) {
            EXPECT_EQ(blocks.shapes.row(i)[c], document["shape"][i][c].get<float>());
        }
        for (std::size_t c = 0; c < 384; ++c) {
            EXPECT_EQ(blocks.texts.row(i)[c], document["text"][i][c].get<float>());
        }
    }
}

TEST(FetchDrawing, TakesWellFormedFilesOfEveryFormat) {
    std::mt19937 random(1);
    const TempFolder folder;
    for (const std::string_view extension : allExtensions) {
        SCOPED_TRACE(extension);
        const json document = wellFormedDocument(random);
        const auto path =
            folder.write("well-formed" + std::string(extension), encoded(document, extension));
        const Drawing drawing = fetched(path);
        EXPECT_EQ(*drawing.path, path);
        expectBlocks(drawing, document);
    }
}

TEST(FetchDrawing, TakesOtherFilesOfEveryFormat) {
    std::mt19937 random(2);
    const TempFolder folder;
    for (const std::string_view extension : allExtensions) {
        SCOPED_TRACE(extension);
        const json good = wellFormedDocument(random);
        json document = good;
        document["blocks"].push_back("no fields");
        document["shape"].push_back(document["shape"][0]);
        document["text"].push_back(document["text"][0]);
        Drawing drawing =
            fetched(folder.write("other" + std::string(extension), encoded(document, extension)));
        EXPECT_EQ(drawing.diagnostics,
                  "Warning: block key with fewer than three fields: no fields\n");
        drawing.diagnostics.clear();
        expectBlocks(drawing, good);
    }
}

/// A parser that has held a larger file leaves nothing of it behind.
TEST(FetchDrawing, OneParserServesOneFileAfterTheOther) {
    std::mt19937 random(3);
    const TempFolder folder;
    simdjson::dom::parser parser;
    for (int round = 0; round < 3; ++round) {
        for (const std::string_view extension : allExtensions) {
            json document = wellFormedDocument(random);
            while (document["blocks"].size() > (round == 0 ? 4U : 1U)) {
                for (const char* member : {"blocks", "shape", "text"}) {
                    document[member].erase(document[member].size() - 1);
                }
            }
            const auto path =
                folder.write("file" + std::string(extension), encoded(document, extension));
            const Drawing drawing = fetchDrawing(utf8FromPath(path), parser);
            expectBlocks(drawing, document);
        }
    }
}

TEST(FetchDrawing, FailsForWhatIsNoReadableFile) {
    const TempFolder folder;
    simdjson::dom::parser parser;
    EXPECT_EQ(thrownText<json::type_error>([&] { fetchDrawing(7, parser); }), noString("number"));
    const std::string missing = utf8FromPath(folder.path() / "missing.cbor");
    EXPECT_EQ(thrownText<std::runtime_error>([&] { fetchDrawing(missing, parser); }),
              "fail to open input file: " + missing);
    const std::string unknown = utf8FromPath(folder.write("a.txt", json::object()));
    EXPECT_EQ(thrownText<std::runtime_error>([&] { fetchDrawing(unknown, parser); }),
              "Unknown input file format! " + unknown);
    const std::string inner = utf8FromPath(folder.path() / "folder.json");
    std::filesystem::create_directory(folder.path() / "folder.json");
    EXPECT_EQ(thrownText<std::runtime_error>([&] { fetchDrawing(inner, parser); }),
              "fail to open input file: " + inner);
}

}  // namespace
}  // namespace quillon::test
