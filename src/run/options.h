// The command line: a plain walk over the tokens with a fixed table of nine options.
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

/// Overwrites in `options` what the command line names. Element 0 is the program's own name;
/// arguments are UTF-8; unknown tokens are skipped, a later occurrence of an option wins, and a
/// value option as the last token has the empty string as its value.
/// Returns false, with the reason printed, when one of the three required paths is empty.
/// Throws std::invalid_argument ("invalid stoi argument", "invalid stof argument", a method that
/// does not exist) and std::out_of_range ("stoi argument out of range", "stof ...").
bool parseArguments(const std::vector<std::string>& arguments, RunOptions& options);

}  // namespace quillon
