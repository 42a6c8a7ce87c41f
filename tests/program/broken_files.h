// Files that can't be read, in each role that a file can have, and what a run must make of them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "program/program_folder.h"

namespace quillon::test {

struct BrokenFile {
    std::string name;
    std::string text;  // of the failure
};

/// Runs with the file as query and as list: both end with status 1 and the text.
void expectFailureAsQueryAndList(const TempFolder& folder, const BrokenFile& file);

/// Runs in both modes over a list of all the files and a good one: each is reported, and the run
/// goes on.
void expectFailuresAsDrawings(const TempFolder& folder, const std::vector<BrokenFile>& files);

/// All of the above, for one file in a folder that is made good again.
void expectFailureInEveryRole(const TempFolder& folder, const BrokenFile& file);

/// The text of the JSON library's failure to parse the bytes, empty if there is none.
std::string parseFailure(const std::string& bytes, const std::string& format);

/// Writes the bytes as `name`.`format` and appends the file, unless they happen to parse.
void writeBroken(const TempFolder& folder, const std::string& name, const std::string& format,
                 const std::string& bytes, std::vector<BrokenFile>& files);

/// Bytes that are worth a file of their own.
struct HostileBytes {
    const char* label;
    const char* format;
    std::string bytes;
};

/// `part` over and over, `size` bytes or a little more.
std::string repeated(const std::string& part, std::size_t size);

}  // namespace quillon::test
