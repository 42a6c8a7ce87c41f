#include "support/documents.h"

#include "shared/utf8_path.h"

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

json queryDocument() {
    return {{"shape", json::array({markedVector(512, 1)})},
            {"text", json::array({markedVector(384, -1)})},
            {"queryText", {"Door 23_3"}}};
}

json listDocument(const json& files) {
    return {{"files", files}};
}

json with(json document, const std::string& place, const json& value) {
    document[json::json_pointer(place)] = value;
    return document;
}

json without(json document, const char* key) {
    document.erase(key);
    return document;
}

std::string writeDrawing(const TempFolder& folder, const char* name, const json& document) {
    return utf8FromPath(folder.write(name, document));
}

std::filesystem::path writeList(const TempFolder& folder, const json& files) {
    return folder.write("list.json", listDocument(files));
}

void writeQueryAndList(const TempFolder& folder, const json& files) {
    folder.write("query.json", queryDocument());
    writeList(folder, files);
}

std::filesystem::path writeLibrary(const TempFolder& folder, const std::vector<json>& documents) {
    json files = json::array();
    for (const json& document : documents) {
        files.push_back(
            writeDrawing(folder, (std::to_string(files.size()) + ".json").c_str(), document));
    }
    return writeList(folder, files);
}

}  // namespace quillon::test
