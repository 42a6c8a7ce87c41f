#include "support/run_program.h"

#include <cctype>
#include <cstdlib>

#include "shared/utf8_path.h"
#include "support/temp_folder.h"

#ifndef _WIN32
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#endif

namespace quillon::test {
namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char character : text) {
        if (character == '\'') {
            result += "'\\''";
        } else {
            result += character;
        }
    }
    return result + "'";
}

#ifdef _WIN32

void runCommand(const std::string& command, ProgramResult& result) {
    result.status = std::system(command.c_str());
}

#else

void runCommand(const std::string& command, ProgramResult& result) {
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    pid_t process = 0;
    int status = 0;
    rusage usage{};
    if (posix_spawnp(&process, "sh", nullptr, nullptr, arguments, environ) != 0 ||
        wait4(process, &status, 0, &usage) != process) {
        throw std::runtime_error("cannot start a shell");
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.peakMiB = static_cast<std::size_t>(usage.ru_maxrss) / 1024;
}

#endif

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::filesystem::path& workingFolder,
                         const std::vector<std::string>& launcher) {
    const TempFolder outputs;
    // The shell's place is taken by the program, so that status and memory are the program's.
    std::string command = "cd " + quoted(utf8FromPath(workingFolder)) + " && exec";
    std::vector<std::string> words = launcher;
    words.emplace_back(QUILLON_PROGRAM);
    words.insert(words.end(), arguments.begin(), arguments.end());
    for (const std::string& word : words) {
        command.append(" ").append(quoted(word));
    }
    command += " >" + quoted(utf8FromPath(outputs.path() / "out")) + " 2>" +
               quoted(utf8FromPath(outputs.path() / "error"));
#ifndef _WIN32
    // What the test itself was started with is no business of the program's.
    command += " 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-";
#endif
    ProgramResult result;
    runCommand(command, result);
    result.out = readBytes(outputs.path() / "out");
    result.error = readBytes(outputs.path() / "error");
    return result;
}

// By hand, since a regular expression takes minutes over a console text of many megabytes.
std::string maskTimes(const std::string& consoleText) {
    static const std::string unit = " ms\n";
    std::string masked;
    std::size_t copied = 0;
    for (std::size_t at = consoleText.find(unit); at != std::string::npos;
         at = consoleText.find(unit, at + unit.size())) {
        std::size_t start = at;
        while (start > copied && std::isdigit(static_cast<unsigned char>(consoleText[start - 1]))) {
            --start;
        }
        const bool hasDigits = start < at;
        if (start > copied && consoleText[start - 1] == '-') {
            --start;
        }
        if (hasDigits && start >= copied + 2 && consoleText.compare(start - 2, 2, ": ") == 0) {
            masked.append(consoleText, copied, start - copied).append("T");
            copied = at;
        }
    }
    return masked.append(consoleText, copied);
}

}  // namespace quillon::test
