// The outcome of a load: the library, the console text and the exception.
#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "library/block_library.h"

namespace quillon::test {

struct LoadOutcome {
    BlockLibrary library;
    std::string console;
    std::string failure;  // what() of the exception, empty without one
};

/// Returns the outcome of any function that loads.
LoadOutcome outcomeOf(const std::function<void(BlockLibrary&)>& loadInto);

/// Returns the outcome of `loadBlockLibrary`.
LoadOutcome load(const std::filesystem::path& list, bool parallelLoad, bool dedupe = true,
                 KeptSides kept = {});

/// The lines that end a successful load.
std::string summary(std::size_t drawings, std::size_t total, std::size_t unique,
                    std::size_t duplicated);

/// The line that begins a load.
std::string progressLine(std::size_t files, const std::filesystem::path& list);

/// The text of a sequential load for an entry that fails.
std::string failLine(const nlohmann::json& entry, const std::string& text);

std::vector<std::string> blockKeys(const BlockLibrary& library);

/// The first column of a matrix.
std::vector<float> marks(const FeatureMatrix& matrix);

}  // namespace quillon::test
