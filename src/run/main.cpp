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
#include <codecvt>
#include <locale>
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
        try {
            return std::wstring_convert<std::codecvt_utf8_utf16<wchar_t>>().to_bytes(value);
        } catch (const std::range_error&) {
            throw std::invalid_argument("an argument is not valid UTF-16");
        }
    });
}

#else

int main(int count, char** values) {
    // The system's own UTF-8 locale: character tests know all of Unicode, and the decimal separator
    // is the point whatever the user's language.
    std::setlocale(LC_ALL, "C.UTF-8");
    return runGuarded(count, values, [](const char* value) { return std::string(value); });
}

#endif
