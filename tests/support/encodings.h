// Encodings documents with recognisable vectors, and what a load makes of them.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "library/block_library.h"
#include "support/temp_folder.h"

namespace quillon::test {

/// `width` zeros, but `mark` in front.
nlohmann::json markedVector(std::size_t width, double mark);

/// A block whose vectors are recognised by their first element: `mark` in the shape vector, -`mark`
/// in the text vector.
struct MarkedBlock {
    std::string key;
    double mark;
};

nlohmann::json encodings(const std::vector<MarkedBlock>& blocks);

/// The document's bytes in the format of the extension, ".json" for example.
std::string inFormat(const nlohmann::json& document, const std::string& extension);

/// The path of a document written as JSON text, as a list entry.
std::string writeDrawing(const TempFolder& folder, const char* name,
                         const nlohmann::json& document);

/// Writes list.json with these `files`.
std::filesystem::path writeList(const TempFolder& folder, const nlohmann::json& files);

/// Writes the documents as 0.json, 1.json, ... and a list of their paths as list.json. Returns the
/// path of the list.
std::filesystem::path writeLibrary(const TempFolder& folder,
                                   const std::vector<nlohmann::json>& documents);

/// What `loadBlockLibrary` leaves, prints and, if it ends with an exception, throws.
struct LoadOutcome {
    BlockLibrary library;
    std::string console;
    std::string failure;  // what() of the exception, empty without one
};

LoadOutcome load(const std::filesystem::path& list, bool parallelLoad, bool dedupe = true);

/// The lines that end a successful load.
std::string summary(std::size_t drawings, std::size_t total, std::size_t unique,
                    std::size_t duplicated);

/// The line that begins a load.
std::string progressLine(std::size_t files, const std::filesystem::path& list);

/// What the load one at a time prints when an entry fails.
std::string failLine(const nlohmann::json& entry, const std::string& text);

std::vector<std::string> blockKeys(const BlockLibrary& library);

/// The first column of a matrix.
std::vector<float> marks(const FeatureMatrix& matrix);

}  // namespace quillon::test
