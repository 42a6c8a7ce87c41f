// Makes the documents of a run and writes them into a folder. Vectors differ in their first
// elements, small integers, so all distances are exact.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace quillon::test {

/// `mark`, followed by zeros, `width` numbers in all.
nlohmann::json markedVector(std::size_t width, double mark);

/// A block whose shape vector begins with `mark`, its text vector with -`mark`.
struct MarkedBlock {
    std::string key;
    double mark;
};

/// An encodings document.
nlohmann::json encodings(const std::vector<MarkedBlock>& blocks);

/// The vectors of a block with the mark 1, and the text "Door 23_3".
nlohmann::json queryDocument();

/// {"files": files}
nlohmann::json listDocument(const nlohmann::json& files);

/// The document with the value at `place` (a JSON pointer) replaced or added.
nlohmann::json with(nlohmann::json document, const std::string& place, const nlohmann::json& value);

nlohmann::json without(nlohmann::json document, const char* key);

/// The path of a document written as JSON text, as a list entry.
std::string writeDrawing(const TempFolder& folder, const char* name,
                         const nlohmann::json& document);

/// Writes list.json with these `files`.
std::filesystem::path writeList(const TempFolder& folder, const nlohmann::json& files);

/// The same, and query.json.
void writeQueryAndList(const TempFolder& folder, const nlohmann::json& files);

/// Writes the documents as 0.json, 1.json, ... and a list of their paths as list.json. Returns the
/// path of the list.
std::filesystem::path writeLibrary(const TempFolder& folder,
                                   const std::vector<nlohmann::json>& documents);

}  // namespace quillon::test
