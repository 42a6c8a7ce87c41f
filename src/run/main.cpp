// The process entry: UTF-8 arguments, a UTF-8 locale, the one handler for exceptions and the exit
// status, and on Windows the way of the text to a console. With shared/utf8_path.cpp the only file
// that knows the operating system.
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

#include <array>
#include <iostream>
#include <streambuf>
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

/// Writes the standard output to the console, line by line, while it lives. The C run-time would
/// write each byte by itself, and a console shows the bytes of one character wrongly when they come
/// one by one. It is given UTF-16, because then its code page does not matter. Output that goes
/// into a file or a pipe is left as it is. Allocates no memory, so that a failure for lack of it is
/// shown.
class ConsoleLines : std::streambuf {
  public:
    ConsoleLines() {
        DWORD mode = 0;
        if (GetConsoleMode(console, &mode) != FALSE) {
            before = std::cout.rdbuf(this);
        }
    }
    ~ConsoleLines() override {
        if (before != nullptr) {
            write();
            std::cout.rdbuf(before);
        }
    }
    ConsoleLines(const ConsoleLines&) = delete;
    ConsoleLines& operator=(const ConsoleLines&) = delete;

  private:
    int_type overflow(int_type byte) override {
        if (byte == '\n') {
            append('\r');
        }
        if (byte != traits_type::eof()) {
            append(traits_type::to_char_type(byte));
        }
        if (byte == '\n') {
            write();
        }
        return traits_type::not_eof(byte);
    }

    /// Long lines are written in pieces that end where a character ends.
    void append(char byte) {
        const bool startsCharacter = (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
        if (length + (startsCharacter ? 4 : 0) >= line.size()) {
            write();
        }
        line[length++] = byte;
    }

    void write() {
        const int units = MultiByteToWideChar(CP_UTF8, 0, line.data(), static_cast<int>(length),
                                              text.data(), static_cast<int>(text.size()));
        DWORD written = 0;
        WriteConsoleW(console, text.data(), static_cast<DWORD>(units), &written, nullptr);
        length = 0;
    }

    HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    std::streambuf* before = nullptr;
    std::array<char, 4096> line{};
    std::array<wchar_t, 4096> text{};  // a byte is at most one unit
    std::size_t length = 0;
};

}  // namespace

int wmain(int count, wchar_t** values) {
    std::setlocale(LC_ALL, ".UTF8");
    ConsoleLines consoleLines;
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
