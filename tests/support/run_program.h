// Starts the real binary and takes what it leaves.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace quillon::test {

struct ProgramResult {
    int status = 0;           // exit status; 128 and more after a signal, 255 for -1
    std::string out;          // standard output, byte for byte but for the line ends of Windows
    std::string error;        // standard error, likewise
    std::size_t peakMiB = 0;  // most memory held at a time; 0 under wine, which forgets it
};

/// Runs the program with `arguments` (UTF-8) in `workingFolder`. `launcher` is the command that
/// starts it and gives its place up to it, with the command's own arguments: "env" with variables,
/// "prlimit" with limits. Windows has "env" alone.
ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::filesystem::path& workingFolder,
                         const std::vector<std::string>& launcher = {});

/// The console text with every elapsed time replaced by "T".
std::string maskTimes(const std::string& consoleText);

}  // namespace quillon::test
