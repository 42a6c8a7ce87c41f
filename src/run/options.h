// The command line: nine options, read from the first token to the last.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "shared/query_type.h"

namespace quillon {

struct RunOptions {
    bool pretty = false;
    bool parallelLoad = true;
    bool dedupe = true;
    std::uint32_t topK = 5;  // a negative value wraps: -1 asks for all rows
    float minThreshold = 0.3F;
    std::filesystem::path fileList;
    std::filesystem::path queryBlock;
    std::filesystem::path output;
    QueryType queryType = QueryType::NotChosen;
};

/// Overwrites the fields of `options` that the command line names. `arguments` are UTF-8, element 0
/// is the program's name. Unknown tokens are skipped, and the last occurrence of an option counts.
/// An option whose value is missing at the end has the empty string as its value.
/// Prints the reason and returns false if one of the three required paths is empty.
/// Throws std::invalid_argument ("invalid stoi argument", "invalid stof argument", "... is not a
/// valid query type") and std::out_of_range ("stoi argument out of range", "stof ...").
bool parseArguments(const std::vector<std::string>& arguments, RunOptions& options);

}  // namespace quillon
