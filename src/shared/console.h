// The one way to the console: a formatter with the bare placeholder "{}", and the report of an
// exception. Text goes to the standard output, unflushed; the standard error stream stays silent.
#pragma once

#include <exception>
#include <filesystem>
#include <iostream>
#include <nlohmann/json_fwd.hpp>
#include <ostream>

namespace quillon {

/// Numbers and text as the stream writes them.
template <class Value>
void writeArgument(std::ostream& out, const Value& value) {
    out << value;
}

/// A path stands between double quotes; quotes and backslashes inside are escaped by a backslash.
void writeArgument(std::ostream& out, const std::filesystem::path& path);

/// A document in compact JSON, at any depth of nesting. Throws the JSON library's type_error 316 at
/// a string that is not UTF-8; what stands before it has been written by then.
void writeArgument(std::ostream& out, const nlohmann::json& value);

/// With no argument left the rest of the format is written unchanged, "{}" included.
inline void printTo(std::ostream& out, const char* format) {
    out << format;
}

/// Writes `format`, each "{}" replaced by the next argument. There is no escape and no other
/// placeholder; arguments without a placeholder are dropped.
template <class First, class... Rest>
void printTo(std::ostream& out, const char* format, const First& first, const Rest&... rest) {
    for (; *format != '\0'; ++format) {
        if (format[0] == '{' && format[1] == '}') {
            writeArgument(out, first);
            printTo(out, format + 2, rest...);
            return;
        }
        out << *format;
    }
}

/// `printTo` the standard output.
template <class... Arguments>
void print(const char* format, const Arguments&... arguments) {
    printTo(std::cout, format, arguments...);
}

/// One line for the exception, indented by `level` blanks, and one more for each exception nested
/// in it, each a blank deeper. A nested value that is no std::exception adds no line.
void printException(const std::exception& exception, int level);

}  // namespace quillon
