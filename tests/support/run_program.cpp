#include "support/run_program.h"

#include <cstdlib>
#include <regex>

#include "shared/utf8_path.h"
#include "support/temp_folder.h"

#ifndef _WIN32
#include <sys/wait.h>
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

int exitStatus(int waitStatus) {
#ifdef _WIN32
    return waitStatus;
#else
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
#endif
}

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::filesystem::path& workingFolder) {
    const TempFolder outputs;
    std::string command =
        "cd " + quoted(utf8FromPath(workingFolder)) + " && " + quoted(QUILLON_PROGRAM);
    for (const std::string& argument : arguments) {
        command += " " + quoted(argument);
    }
    command += " >" + quoted(utf8FromPath(outputs.path() / "out")) + " 2>" +
               quoted(utf8FromPath(outputs.path() / "error"));
    ProgramResult result;
    result.status = exitStatus(std::system(command.c_str()));
    result.out = readBytes(outputs.path() / "out");
    result.error = readBytes(outputs.path() / "error");
    return result;
}

std::string maskTimes(const std::string& consoleText) {
    static const std::regex time(": -?[0-9]+ ms\n");
    return std::regex_replace(consoleText, time, ": T ms\n");
}

}  // namespace quillon::test
