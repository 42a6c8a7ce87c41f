#include "reference/tree_load.h"

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "documents/json_file.h"
#include "shared/console.h"
#include "shared/utf8_path.h"

namespace quillon::reference {
namespace {

using nlohmann::json;

struct FlatState {
    std::set<std::string> seenCodes;
    std::vector<float> shapeValues;
    std::vector<float> textValues;
    std::uint64_t uniqueCount = 0;
    std::uint64_t duplicateCount = 0;
};

/// operator[] as the library has it, with its at() for what operator[] leaves undefined.
const json& member(const json& value, const char* key) {
    if (!value.is_object()) {
        return value[key];
    }
    return value.at(key);
}

const json& element(const json& value, std::size_t index) {
    return value[index];
}

std::vector<std::string> fieldsOf(const std::string& key) {
    std::vector<std::string> fields(1);
    for (const char character : key) {
        if (character == '*') {
            fields.emplace_back();
        } else {
            fields.back() += character;
        }
    }
    return fields;
}

bool hasSize(const json& vectors, std::size_t index, std::size_t size) {
    if (!vectors.is_array()) {
        element(vectors, index);  // throws
    }
    if (index >= vectors.size()) {
        return false;
    }
    const json& vector = vectors[index];
    return (vector.is_array() || vector.is_object()) && vector.size() == size;
}

void appendAll(const json& vector, std::vector<float>& values) {
    std::vector<float> numbers;
    for (const json& number : vector) {
        numbers.push_back(number.get<float>());
    }
    values.insert(values.end(), numbers.begin(), numbers.end());
}

void addBlock(const std::filesystem::path& path, const json& shapes, const json& texts,
              const json& blocks, std::size_t index, bool dedupe, FlatState& state,
              std::vector<BlockRecord>& records) {
    const auto key = element(blocks, index).get<std::string>();
    const std::string code = fieldsOf(key)[1];
    if (dedupe && state.seenCodes.count(code) != 0) {
        ++state.duplicateCount;
        return;
    }
    state.seenCodes.insert(code);
    records.push_back({std::make_shared<const std::filesystem::path>(path), key});
    appendAll(shapes[index], state.shapeValues);
    appendAll(texts[index], state.textValues);
    ++state.uniqueCount;
}

void addDrawingBlocks(const json& document, const std::filesystem::path& path, bool dedupe,
                      FlatState& state, std::vector<BlockRecord>& records) {
    if (document.is_object() && document.contains("blocks") && document["blocks"].empty()) {
        return;
    }
    const json& shapes = member(document, "shape");
    const json& texts = member(document, "text");
    const json& blocks = member(document, "blocks");
    std::ptrdiff_t deferredIndex = -1;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (!hasSize(shapes, i, 512)) {
            print("Invalid shape vector for {}\n", element(blocks, i));
            continue;
        }
        if (!hasSize(texts, i, 384)) {
            print("Invalid text vector for {}\n", element(blocks, i));
            continue;
        }
        const auto key = element(blocks, i).get<std::string>();
        const std::vector<std::string> fields = fieldsOf(key);
        if (fields.size() < 3) {
            print("Warning: block key with fewer than three fields: {}\n", key);
            continue;
        }
        if (fields[2] == "0") {
            deferredIndex = static_cast<std::ptrdiff_t>(i);
            continue;
        }
        addBlock(path, shapes, texts, blocks, i, dedupe, state, records);
    }
    if (deferredIndex >= 0) {
        addBlock(path, shapes, texts, blocks, static_cast<std::size_t>(deferredIndex), dedupe,
                 state, records);
    }
}

std::filesystem::path pathOf(const json& entry) {
    return pathFromUtf8(entry.get<std::string>());
}

void loadParallel(const json& files, bool dedupe, FlatState& state, BlockLibrary& library,
                  unsigned threads) {
    const std::size_t count = files.size();
    std::vector<json> documents(count);
    std::vector<std::string> warnings(count);
    std::atomic<std::size_t> next{0};
    const auto readAll = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            try {
                documents[i] = readJsonFile(pathOf(element(files, i)));
            } catch (const std::exception& exception) {
                warnings[i] = exception.what();
            }
        }
    };
    {
        std::vector<std::jthread> others;
        for (unsigned t = 1; t < threads; ++t) {
            others.emplace_back(readAll);
        }
        readAll();
    }
    for (const std::string& warning : warnings) {
        if (!warning.empty()) {
            ++library.counters.failedDrawings;
            print("Warning: {}\n", warning);
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!documents[i].is_null()) {
            addDrawingBlocks(documents[i], pathOf(files[i]), dedupe, state, library.records);
        }
    }
}

void loadOneAtATime(const json& files, bool dedupe, FlatState& state, BlockLibrary& library) {
    for (const json& entry : files) {
        try {
            const json document = readJsonFile(pathOf(entry));
            addDrawingBlocks(document, pathOf(entry), dedupe, state, library.records);
        } catch (const std::exception& exception) {
            ++library.counters.failedDrawings;
            print("Fail to load {}\n\t{}\n", entry, exception.what());
        }
    }
}

void buildFeatureMatrix(std::vector<float>& values, std::size_t rows, std::size_t width,
                        FeatureMatrix& matrix) {
    values.resize(rows * width);
    matrix = FeatureMatrix::from_shape({rows, width});
    std::copy(values.begin(), values.end(), matrix.data());
}

}  // namespace

void loadBlockLibrary(const std::filesystem::path& fileListPath, bool parallelLoad, bool dedupe,
                      BlockLibrary& library, unsigned threads) {
    const json list = readJsonFile(fileListPath);
    const json& files = member(list, "files");
    library.counters.totalDrawings = files.size();
    if (files.empty()) {
        throw std::runtime_error("There are no files in " + utf8FromPath(fileListPath));
    }
    print("Loading encodings from {} files in {}\n", files.size(), fileListPath);
    FlatState state;
    if (parallelLoad) {
        loadParallel(files, dedupe, state, library, threads);
    } else {
        loadOneAtATime(files, dedupe, state, library);
    }
    if (library.records.empty()) {
        throw std::runtime_error("No encodings are loaded from files.");
    }
    library.counters.totalBlocks = state.uniqueCount + state.duplicateCount;
    library.counters.uniqueBlocks = state.uniqueCount;
    print("   total drawings: {}\n", library.counters.totalDrawings);
    print("     total blocks: {}\n", library.counters.totalBlocks);
    print("    unique blocks: {}\n", library.counters.uniqueBlocks);
    print("duplicated blocks: {}\n", state.duplicateCount);
    buildFeatureMatrix(state.shapeValues, state.uniqueCount, 512, library.shapeMatrix);
    buildFeatureMatrix(state.textValues, state.uniqueCount, 384, library.textMatrix);
}

}  // namespace quillon::reference
