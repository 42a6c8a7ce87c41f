// Starts the real binary and returns its status and its output.
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

/// Runs the program with `arguments` (UTF-8) in `workingFolder`. `launcher` is a command, with its
/// arguments, that the program replaces: "env" with variables, "prlimit" with limits. On Windows
/// only "env" works.
ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::filesystem::path& workingFolder,
                         const std::vector<std::string>& launcher = {});

/// The console text with every elapsed time replaced by "T".
std::string maskTimes(const std::string& consoleText);

}  // namespace quillon::test
