#include "support/encodings.h"

#include <exception>

#include "library/load_library.h"
#include "shared/utf8_path.h"
#include "support/console_capture.h"

namespace quillon::test {

using nlohmann::json;

json markedVector(std::size_t width, double mark) {
    json vector = std::vector<double>(width);
    vector.front() = mark;
    return vector;
}

json encodings(const std::vector<MarkedBlock>& blocks) {
    json document = {{"blocks", json::array()}, {"shape", json::array()}, {"text", json::array()}};
    for (const MarkedBlock& block : blocks) {
        document["blocks"].push_back(block.key);
        document["shape"].push_back(markedVector(512, block.mark));
        document["text"].push_back(markedVector(384, -block.mark));
    }
    return document;
}

std::string inFormat(const json& document, const std::string& extension) {
    std::vector<std::uint8_t> bytes;
    if (extension == ".json") {
        return document.dump();
    }
    if (extension == ".bson") {
        bytes = json::to_bson(document);
    } else if (extension == ".cbor") {
        bytes = json::to_cbor(document);
    } else if (extension == ".msgpack") {
        bytes = json::to_msgpack(document);
    } else if (extension == ".ubj") {
        bytes = json::to_ubjson(document);
    } else {
        bytes = json::to_bjdata(document);
    }
    return {bytes.begin(), bytes.end()};
}

std::string writeDrawing(const TempFolder& folder, const char* name, const json& document) {
    return utf8FromPath(folder.write(name, document));
}

std::filesystem::path writeList(const TempFolder& folder, const json& files) {
    return folder.write("list.json", json{{"files", files}});
}

std::filesystem::path writeLibrary(const TempFolder& folder, const std::vector<json>& documents) {
    json files = json::array();
    for (const json& document : documents) {
        files.push_back(
            writeDrawing(folder, (std::to_string(files.size()) + ".json").c_str(), document));
    }
    return writeList(folder, files);
}

LoadOutcome load(const std::filesystem::path& list, bool parallelLoad, bool dedupe) {
    LoadOutcome outcome;
    const ConsoleCapture console;
    try {
        loadBlockLibrary(list, parallelLoad, dedupe, outcome.library);
    } catch (const std::exception& exception) {
        outcome.failure = exception.what();
    }
    outcome.console = console.text();
    return outcome;
}

std::string summary(std::size_t drawings, std::size_t total, std::size_t unique,
                    std::size_t duplicated) {
    return "   total drawings: " + std::to_string(drawings) +
           "\n     total blocks: " + std::to_string(total) +
           "\n    unique blocks: " + std::to_string(unique) +
           "\nduplicated blocks: " + std::to_string(duplicated) + "\n";
}

std::string progressLine(std::size_t files, const std::filesystem::path& list) {
    return "Loading encodings from " + std::to_string(files) + " files in \"" + utf8FromPath(list) +
           "\"\n";
}

std::string failLine(const json& entry, const std::string& text) {
    return "Fail to load " + entry.dump() + "\n\t" + text + "\n";
}

std::vector<std::string> blockKeys(const BlockLibrary& library) {
    std::vector<std::string> keys;
    for (const BlockRecord& record : library.records) {
        keys.push_back(record.blockKey);
    }
    return keys;
}

std::vector<float> marks(const FeatureMatrix& matrix) {
    std::vector<float> values;
    for (std::size_t row = 0; row < matrix.shape(0); ++row) {
        values.push_back(matrix(row, 0));
    }
    return values;
}

}  // namespace quillon::test
