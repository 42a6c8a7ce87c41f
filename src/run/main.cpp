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

namespace {

/// Appends the UTF-8 form of `character`, which may also be a surrogate: that becomes three bytes.
void appendUtf8(std::string& text, char32_t character) {
    const auto append = [&](char32_t byte) { text += static_cast<char>(byte); };
    const auto appendSixBits = [&](unsigned shift) {
        append(0x80U | ((character >> shift) & 0x3FU));
    };
    if (character < 0x80U) {
        append(character);
        return;
    }
    if (character < 0x800U) {
        append(0xC0U | (character >> 6U));
    } else if (character < 0x10000U) {
        append(0xE0U | (character >> 12U));
        appendSixBits(6);
    } else {
        append(0xF0U | (character >> 18U));
        appendSixBits(12);
        appendSixBits(6);
    }
    appendSixBits(0);
}

/// An argument in UTF-8. The system lets half a surrogate pair pass, as in a broken file name. It
/// becomes three bytes, which are not valid UTF-8, so that every argument has a text.
std::string utf8Argument(const wchar_t* units) {
    std::string text;
    for (; *units != L'\0'; ++units) {
        char32_t character = *units;
        if (IS_SURROGATE_PAIR(units[0], units[1])) {
            character = 0x10000 + ((character - HIGH_SURROGATE_START) << 10U);
            character += static_cast<char32_t>(*++units - LOW_SURROGATE_START);
        }
        appendUtf8(text, character);
    }
    return text;
}

}  // namespace

int wmain(int count, wchar_t** values) {
    std::setlocale(LC_ALL, ".UTF8");
    return runGuarded(count, values, utf8Argument);
}

#else

int main(int count, char** values) {
    // The system's own UTF-8 locale for characters. In everything else the C locale stays, whose
    // decimal separator is the point whatever the user's language.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    return runGuarded(count, values, [](const char* value) { return std::string(value); });
}

#endif
