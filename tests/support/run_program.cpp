#include "support/run_program.h"

#include <cctype>
#include <stdexcept>

#include "shared/utf8_path.h"
#include "support/temp_folder.h"

#ifdef _WIN32
#include <windows.h>
// After windows.h, because it uses its declarations.
#include <psapi.h>
#else
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace quillon::test {

namespace fs = std::filesystem;

#ifdef _WIN32

namespace {

/// Converts UTF-8 to UTF-16. Accepts a single surrogate, too, as three bytes.
std::wstring wide(const std::string& text) {
    return fs::path(std::u8string(text.begin(), text.end())).native();
}

/// Quotes an argument as the C run-time expects it: backslashes are special only before quotes.
std::wstring quoted(const std::wstring& argument) {
    std::wstring result = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t character : argument) {
        if (character == L'"') {
            result.append(backslashes + 1, L'\\');
        }
        backslashes = character == L'\\' ? backslashes + 1 : 0;
        result += character;
    }
    return result.append(backslashes, L'\\') + L'"';
}

HANDLE inheritableFile(const fs::path& path) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// While it exists, sets variables ("NAME=VALUE") for new processes.
class Environment {
  public:
    explicit Environment(const std::vector<std::string>& assignments) {
        for (const std::string& assignment : assignments) {
            const std::size_t equals = assignment.find('=');
            names.push_back(wide(assignment.substr(0, equals)));
            SetEnvironmentVariableW(names.back().c_str(),
                                    wide(assignment.substr(equals + 1)).c_str());
        }
    }
    ~Environment() {
        for (const std::wstring& name : names) {
            SetEnvironmentVariableW(name.c_str(), nullptr);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

  private:
    std::vector<std::wstring> names;
};

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments, const fs::path& workingFolder,
                         const std::vector<std::string>& launcher) {
    if (!launcher.empty() && launcher.front() != "env") {
        throw std::invalid_argument("no such launcher on Windows: " + launcher.front());
    }
    const Environment environment(
        {launcher.empty() ? launcher.end() : launcher.begin() + 1, launcher.end()});
    std::wstring command = quoted(wide(QUILLON_PROGRAM));
    for (const std::string& argument : arguments) {
        command += L" " + quoted(wide(argument));
    }

    const TempFolder outputs;
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = inheritableFile(outputs.path() / "out");
    start.hStdError = inheritableFile(outputs.path() / "error");
    PROCESS_INFORMATION process{};
    // Without a console, to which the program would write instead.
    const BOOL started =
        CreateProcessW(pathFromUtf8(QUILLON_PROGRAM).c_str(), command.data(), nullptr, nullptr,
                       TRUE, DETACHED_PROCESS, nullptr, workingFolder.c_str(), &start, &process);
    CloseHandle(start.hStdOutput);
    CloseHandle(start.hStdError);
    if (started == FALSE) {
        throw std::runtime_error("cannot start the program");
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.hProcess, &status);
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(process.hProcess, &memory, sizeof(memory));
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);

    ProgramResult result;
    result.status = static_cast<int>(status == static_cast<DWORD>(-1) ? 255 : status);
    result.peakMiB = memory.PeakWorkingSetSize >> 20U;
    result.out = readText(outputs.path() / "out");
    result.error = readText(outputs.path() / "error");
    return result;
}

#else

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

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments, const fs::path& workingFolder,
                         const std::vector<std::string>& launcher) {
    const TempFolder outputs;
    // The program replaces the shell, so status and memory are those of the program.
    std::string command = "cd " + quoted(utf8FromPath(workingFolder)) + " && exec";
    std::vector<std::string> words = launcher;
    words.emplace_back(QUILLON_PROGRAM);
    words.insert(words.end(), arguments.begin(), arguments.end());
    for (const std::string& word : words) {
        command.append(" ").append(quoted(word));
    }
    command += " >" + quoted(utf8FromPath(outputs.path() / "out")) + " 2>" +
               quoted(utf8FromPath(outputs.path() / "error"));
    // The program must not get the variables of the test.
    command += " 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-";
    ProgramResult result;
    runCommand(command, result);
    result.out = readText(outputs.path() / "out");
    result.error = readText(outputs.path() / "error");
    return result;
}

#endif

// Without a regular expression, which takes minutes for a console text of many megabytes.
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
