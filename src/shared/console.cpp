#include "shared/console.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "shared/utf8_path.h"

namespace quillon {

void writeArgument(std::ostream& out, const std::filesystem::path& path) {
    // By hand: std::quoted collects the text first, and if that allocation fails it writes only a
    // part.
    out << '"';
    for (const char character : utf8FromPath(path)) {
        if (character == '"' || character == '\\') {
            out << '\\';
        }
        out << character;
    }
    out << '"';
}

// The library's own writer recurses once a level, and a document out of a file may be nested as
// deeply as the file is long. So containers are walked here and only their leaves left to it.
void writeArgument(std::ostream& out, const nlohmann::json& value) {
    struct OpenContainer {
        const nlohmann::json* container;
        nlohmann::json::const_iterator next;
    };
    std::vector<OpenContainer> open;
    const auto write = [&](const nlohmann::json& item) {
        if (item.is_structured()) {
            out << (item.is_array() ? '[' : '{');
            open.push_back({&item, item.begin()});
        } else {
            out << item;
        }
    };

    write(value);
    while (!open.empty()) {
        auto& [container, next] = open.back();
        if (next == container->end()) {
            out << (container->is_array() ? ']' : '}');
            open.pop_back();
            continue;
        }
        if (next != container->begin()) {
            out << ',';
        }
        if (container->is_object()) {
            out << nlohmann::json(next.key()) << ':';
        }
        const nlohmann::json& item = *next;
        ++next;
        write(item);
    }
}

void printException(const std::exception& exception, int level) {
    print("{}exception: {}\n", std::string(static_cast<std::size_t>(level), ' '), exception.what());
    try {
        std::rethrow_if_nested(exception);
    } catch (const std::exception& nested) {
        printException(nested, level + 1);
    } catch (...) {
        // A nested value of another type has no text to report.
    }
}

}  // namespace quillon
