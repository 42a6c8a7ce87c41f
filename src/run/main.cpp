// The process entry: UTF-8 arguments, a UTF-8 locale, the one handler for exceptions and the exit
// status. With shared/utf8_path.cpp the only file that knows the operating system.
#include <algorithm>
#include <clocale>
#include <exception>
#include <iterator>
#include <string>
#include <vector>

#include "run/run.h"
#include "shared/console.h"

#ifdef _WIN32
#include <windows.h>

#include <stdexcept>
#endif

namespace {

/// `toUtf8` turns a value of the system's into an argument.
template <class Value, class ToUtf8>
int runGuarded(int count, Value** values, const ToUtf8& toUtf8) {
    try {
        std::vector<std::string> arguments;
        std::transform(values, values + count, std::back_inserter(arguments), toUtf8);
        return quillon::run(arguments);
    } catch (const std::exception& exception) {
        quillon::printException(exception, 0);
    }
    return 1;
}

}  // namespace

#ifdef _WIN32

int wmain(int count, wchar_t** values) {
    std::setlocale(LC_ALL, ".UTF8");
    return runGuarded(count, values, [](const wchar_t* value) {
        const auto convert = [value](char* bytes, int size) {
            return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, value, -1, bytes, size,
                                       nullptr, nullptr);
        };
        const int size = convert(nullptr, 0);  // with the NUL
        if (size == 0) {
            throw std::invalid_argument("an argument is not valid UTF-16");
        }
        std::string text(static_cast<std::size_t>(size), '\0');
        convert(text.data(), size);
        text.pop_back();
        return text;
    });
}

#else

int main(int count, char** values) {
    // The system's own UTF-8 locale for characters. In everything else the C locale stays, whose
    // decimal separator is the point whatever the user's language.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    return runGuarded(count, values, [](const char* value) { return std::string(value); });
}

#endif
