// The formatter with the bare placeholder, how each kind of argument is written, and the report of
// an exception.
#include "shared/console.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>

#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/failure_texts.h"

namespace quillon {
namespace {

using nlohmann::json;
using test::ConsoleCapture;
using test::notUtf8;
using test::thrownText;

template <class... Arguments>
std::string printed(const char* format, const Arguments&... arguments) {
    const ConsoleCapture console;
    print(format, arguments...);
    return console.text();
}

TEST(Print, WritesAFormatWithoutPlaceholdersAsItStands) {
    EXPECT_EQ(printed("a line\n"), "a line\n");
    EXPECT_EQ(printed(""), "");
}

TEST(Print, ReplacesPlaceholdersFromLeftToRight) {
    EXPECT_EQ(printed("{}, {} and {}\n", "one", 2, std::string("three")), "one, 2 and three\n");
    EXPECT_EQ(printed("{}{}", 1, 2), "12");
}

TEST(Print, DropsArgumentsWithoutAPlaceholder) {
    EXPECT_EQ(printed("no placeholder\n", 1), "no placeholder\n");
    EXPECT_EQ(printed("{}\n", 1, 2, 3), "1\n");
}

TEST(Print, WritesPlaceholdersWithoutAnArgumentAsTheyStand) {
    EXPECT_EQ(printed("{} and {}\n", 1), "1 and {}\n");
    EXPECT_EQ(printed("{}"), "{}");
}

TEST(Print, DoesNotLookForPlaceholdersInArguments) {
    EXPECT_EQ(printed("{} {}\n", "{}", 1), "{} 1\n");
}

TEST(Print, TakesOtherBracesForOrdinaryCharacters) {
    EXPECT_EQ(printed("{ } {0} {:3} }{ {", 1), "{ } {0} {:3} }{ {");
    EXPECT_EQ(printed("{{}}", 1), "{1}");
}

TEST(Print, WritesNumbersAsTheStreamDoes) {
    EXPECT_EQ(printed("{}", std::numeric_limits<std::uint32_t>::max()), "4294967295");
    EXPECT_EQ(printed("{}", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(printed("{}", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(printed("{}", 0.3F), "0.3");
    EXPECT_EQ(printed("{}", 1.0F / 3.0F), "0.333333");
    EXPECT_EQ(printed("{}", 1e10F), "1e+10");
    EXPECT_EQ(printed("{}", -std::numeric_limits<float>::infinity()), "-inf");
}

TEST(Print, QuotesPaths) {
    EXPECT_EQ(printed("{}", std::filesystem::path("plain.json")), R"("plain.json")");
    EXPECT_EQ(printed("{}", std::filesystem::path()), R"("")");
    EXPECT_EQ(printed("{}", std::filesystem::path("with blank.json")), R"("with blank.json")");
    EXPECT_EQ(printed("{}", std::filesystem::path(R"(C:\a\b.json)")), R"("C:\\a\\b.json")");
    EXPECT_EQ(printed("{}", std::filesystem::path(R"(6" door)")), R"("6\" door")");
    EXPECT_EQ(printed("{}", pathFromUtf8("Tür/椅子.json")), R"("Tür/椅子.json")");
}

TEST(Print, WritesDocumentsAsCompactJson) {
    for (const char* text :
         {R"("TÜR \"90\"\\\n")", "null", "true", "-3", "0.5", "[]", "{}", R"([1,[],{},"a"])",
          R"({"a":[{"b":null,"c":[1,2]},{}],"b*\"":{"x":[[]]}})"}) {
        EXPECT_EQ(printed("{}", json::parse(text)), text);
    }
}

TEST(Print, WritesDocumentsOfAnyDepth) {
    constexpr std::size_t depth = 200'000;
    const std::string text = std::string(depth, '[') + std::string(depth, ']');
    EXPECT_TRUE(printed("{}", json::parse(text)) == text);
}

TEST(Print, RefusesADocumentWithTextThatIsNotUtf8) {
    const ConsoleCapture console;
    EXPECT_EQ(thrownText<json::type_error>([] { print("{}\n", json("door\xFF")); }), notUtf8(4));
}

/// Counts the flushes that reach it.
struct FlushCounter : std::stringbuf {
    int flushes = 0;
    int sync() override {
        ++flushes;
        return 0;
    }
};

TEST(Print, NeitherFlushesNorChangesTheStream) {
    FlushCounter buffer;
    std::ostream out(&buffer);
    const auto flags = out.flags();
    printTo(out, "{} {} {} {}\n", 0.3F, std::filesystem::path("a"), json("b"), 5U);
    EXPECT_EQ(buffer.str(), "0.3 \"a\" \"b\" 5\n");
    EXPECT_EQ(buffer.flushes, 0);
    EXPECT_EQ(out.flags(), flags);
    EXPECT_EQ(out.precision(), 6);
    EXPECT_EQ(out.fill(), ' ');
    EXPECT_EQ(out.width(), 0);
}

std::string report(const std::exception& exception, int level) {
    const ConsoleCapture console;
    printException(exception, level);
    return console.text();
}

TEST(PrintException, IndentsByTheLevel) {
    EXPECT_EQ(report(std::runtime_error("no {} luck"), 0), "exception: no {} luck\n");
    EXPECT_EQ(report(std::runtime_error("no luck"), 2), "  exception: no luck\n");
}

/// An exception with `text` around whatever `inner` throws.
template <class Inner>
void throwAround(const char* text, Inner&& inner) {
    try {
        inner();
    } catch (...) {
        std::throw_with_nested(std::runtime_error(text));
    }
}

template <class Action>
std::string reportOf(Action&& action) {
    try {
        action();
    } catch (const std::exception& exception) {
        return report(exception, 0);
    }
    return "nothing was thrown";
}

TEST(PrintException, AddsALineForEachNestedException) {
    const auto innermost = [] { throw std::invalid_argument("innermost"); };
    EXPECT_EQ(reportOf([&] { throwAround("outer", innermost); }),
              "exception: outer\n exception: innermost\n");
    EXPECT_EQ(reportOf([&] { throwAround("outer", [&] { throwAround("middle", innermost); }); }),
              "exception: outer\n exception: middle\n  exception: innermost\n");
}

TEST(PrintException, IsSilentAboutANestedValueThatIsNoException) {
    EXPECT_EQ(reportOf([] { throwAround("outer", [] { throw 5; }); }), "exception: outer\n");
}

}  // namespace
}  // namespace quillon
