#include "generate_library.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "made_up_blocks.h"
#include "measure.h"
#include "shared/document_keys.h"
#include "shared/feature_matrix.h"
#include "shared/utf8_path.h"
#include "support/formats.h"
#include "support/temp_folder.h"

namespace quillon::bench {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// The blocks of one encodings file.
struct Drawing {
    std::vector<std::string> keys;
    std::vector<float> shapes;  // blocks × 512
    std::vector<float> texts;   // blocks × 384
};

Drawing makeDrawing(const LibrarySpec& spec, std::size_t file) {
    const std::size_t first = spec.blocks * file / spec.files;
    const std::size_t end = spec.blocks * (file + 1) / spec.files;
    Drawing drawing;
    drawing.shapes.resize((end - first) * shapeWidth);
    drawing.texts.resize((end - first) * textWidth);
    for (std::size_t block = first; block < end; ++block) {
        const std::uint64_t contents = contentsOfBlock(block);
        drawing.keys.push_back(blockKey(block, contents, block + 1 == end));
        fillShape(contents, spec.blocks, drawing.shapes.data() + (block - first) * shapeWidth);
        fillText(contents, spec.blocks, drawing.texts.data() + (block - first) * textWidth);
    }
    return drawing;
}

void appendNumber(float value, std::string& text) {
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                            std::chars_format::general, 6);
    if (error != std::errc()) {
        throw std::logic_error("a number does not fit its buffer");
    }
    const std::string_view written(digits.data(), static_cast<std::size_t>(end - digits.data()));
    text += written;
    // Encoders of floats do not write whole numbers as integers.
    if (written.find_first_of(".e") == std::string_view::npos) {
        text += ".0";
    }
}

/// Writes `"name":[[...],[...]]`. Not with nlohmann json, which would write all 17 digits.
void appendVectors(const char* name, const std::vector<float>& values, std::size_t width,
                   std::string& text) {
    text += std::string("\"") + name + "\":[";
    for (std::size_t i = 0; i < values.size(); ++i) {
        text += i == 0 ? "[" : i % width == 0 ? "],[" : ",";
        appendNumber(values[i], text);
    }
    text += values.empty() ? "]" : "]]";
}

std::string jsonText(const Drawing& drawing) {
    std::string text = std::string("{\"") + blocksKey + "\":" + json(drawing.keys).dump() + ",\n";
    appendVectors(shapeKey, drawing.shapes, shapeWidth, text);
    text += ",\n";
    appendVectors(textKey, drawing.texts, textWidth, text);
    return text + "}\n";
}

json vectorsTree(const std::vector<float>& values, std::size_t width) {
    json vectors = json::array();
    for (std::size_t first = 0; first < values.size(); first += width) {
        const auto begin = values.begin() + static_cast<std::ptrdiff_t>(first);
        vectors.push_back(
            json(std::vector<float>(begin, begin + static_cast<std::ptrdiff_t>(width))));
    }
    return vectors;
}

void appendBigEndian(std::uint64_t bits, std::size_t size, std::string& bytes) {
    for (std::size_t i = size; i-- > 0;) {
        bytes += static_cast<char>(bits >> 8 * i & 0xFFU);
    }
}

/// Not with nlohmann json, which writes 64 bits only if 32 change the number, and never 16.
void appendCborVectors(const std::vector<float>& values, std::size_t width, Numbers numbers,
                       std::string& bytes) {
    bytes += '\x99';
    appendBigEndian(values.size() / width, 2, bytes);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i % width == 0) {
            bytes += '\x99';
            appendBigEndian(width, 2, bytes);
        }
        if (numbers == Numbers::wide) {
            bytes += '\xFB';
            appendBigEndian(std::bit_cast<std::uint64_t>(double{values[i]}), 8, bytes);
        } else if (i % 16 == 0) {
            bytes += '\xF9';
            appendBigEndian(0, 2, bytes);
        } else {
            bytes += '\xFA';
            appendBigEndian(std::bit_cast<std::uint32_t>(values[i]), 4, bytes);
        }
    }
}

std::string cborBytes(const Drawing& drawing, Numbers numbers) {
    std::string bytes = "\xA3\x66";
    bytes += blocksKey;
    json::to_cbor(drawing.keys, bytes);
    bytes += '\x65';
    bytes += shapeKey;
    appendCborVectors(drawing.shapes, shapeWidth, numbers, bytes);
    bytes += '\x64';
    bytes += textKey;
    appendCborVectors(drawing.texts, textWidth, numbers, bytes);
    return bytes;
}

std::string bytesOf(const Drawing& drawing, const std::string& extension) {
    if (extension == ".json") {
        return jsonText(drawing);
    }
    return test::encoded({{blocksKey, drawing.keys},
                          {shapeKey, vectorsTree(drawing.shapes, shapeWidth)},
                          {textKey, vectorsTree(drawing.texts, textWidth)}},
                         extension);
}

fs::path encodingsPath(const LibrarySpec& spec, const fs::path& folder, std::size_t file) {
    std::array<char, 48> place{};
    std::snprintf(place.data(), place.size(), "%02zx/drawing-%06zu.dwg", file % 256, file);
    return folder / metadataMarker / place.data() / ("encodings" + spec.extension);
}

std::string queryDocument(std::size_t libraryBlocks, std::size_t usedShapeWidth) {
    std::vector<float> shape(shapeWidth);
    std::vector<float> text(textWidth);
    fillShape(queryContents, libraryBlocks, shape.data());
    fillText(queryContents, libraryBlocks, text.data());
    shape.resize(usedShapeWidth);
    const json document = {{shapeKey, json::array({shape})},
                           {textKey, json::array({text})},
                           {queryTextKey, json::array({"Door 90"})}};
    return document.dump();
}

}  // namespace

LibraryFiles libraryFiles(const fs::path& folder) {
    return {folder / "list.json", folder / "query.json", folder / "narrow-query.json"};
}

void writeLibrary(const LibrarySpec& spec, const fs::path& folder) {
    forEachIndex(spec.files, [&](std::size_t file) {
        test::writeBytes(encodingsPath(spec, folder, file),
                         spec.numbers == Numbers::single
                             ? bytesOf(makeDrawing(spec, file), spec.extension)
                             : cborBytes(makeDrawing(spec, file), spec.numbers));
    });
    json list = json::array();
    for (std::size_t file = 0; file < spec.files; ++file) {
        list.push_back(utf8FromPath(encodingsPath(spec, folder, file)));
    }
    const LibraryFiles files = libraryFiles(folder);
    test::writeBytes(files.query, queryDocument(spec.blocks, shapeWidth));
    test::writeBytes(files.narrowQuery, queryDocument(spec.blocks, 1));
    test::writeBytes(files.list, json{{filesKey, list}}.dump());
}

}  // namespace quillon::bench
