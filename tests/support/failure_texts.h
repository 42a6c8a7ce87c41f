// The whole texts of exceptions, those thrown and those that nlohmann json throws.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <string>
#include <typeinfo>

namespace quillon::test {

/// Returns what() of the exception that `action` throws. The test fails unless the type is exactly
/// `Exception`, because a base class would hide another failure.
template <class Exception, class Action>
std::string thrownText(Action&& action) {
    try {
        action();
    } catch (const std::exception& exception) {
        EXPECT_TRUE(typeid(exception) == typeid(Exception))
            << "type " << typeid(exception).name() << ", text " << exception.what();
        return exception.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// Returns what() of the exception of any type that `action` throws, empty without one.
template <class Action>
std::string failureOf(Action&& action) {
    try {
        action();
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return {};
}

/// The text of a load that accepted no block.
inline const std::string noEncodings = "No encodings are loaded from files.";

/// Access by key to a value of another type; `type` is its name. type_error 305.
inline std::string noObject(const std::string& type) {
    return "[json.exception.type_error.305] cannot use operator[] with a string argument with " +
           type;
}

/// Access by position. type_error 305.
inline std::string noArray(const std::string& type) {
    return "[json.exception.type_error.305] cannot use operator[] with a numeric argument with " +
           type;
}

/// Conversion to a string. type_error 302.
inline std::string noString(const std::string& type) {
    return "[json.exception.type_error.302] type must be string, but is " + type;
}

/// Conversion to a number. type_error 302.
inline std::string noNumber(const std::string& type) {
    return "[json.exception.type_error.302] type must be number, but is " + type;
}

/// out_of_range 403.
inline std::string noKey(const std::string& key) {
    return "[json.exception.out_of_range.403] key '" + key + "' not found";
}

/// Access by a position outside the array. out_of_range 401.
inline std::string noIndex(std::size_t index) {
    return "[json.exception.out_of_range.401] array index " + std::to_string(index) +
           " is out of range";
}

/// Writing a text as JSON if its byte at `index` is 0xFF. type_error 316.
inline std::string notUtf8(std::size_t index) {
    return "[json.exception.type_error.316] invalid UTF-8 byte at index " + std::to_string(index) +
           ": 0xFF";
}

/// The text of parse_error `id` of nlohmann json. `problem` names the format and the mistake.
inline std::string parseErrorText(int id, const std::string& position, const std::string& problem) {
    return "[json.exception.parse_error." + std::to_string(id) + "] parse error at " + position +
           ": syntax error while parsing " + problem;
}

}  // namespace quillon::test
