#include "run/options.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "shared/console.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

// std::stoi and std::stof have different failure texts in every standard library, and `long` has 64
// bits on some platforms. So the texts and the 32-bit range are defined here.
std::int32_t parseInt32(const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        throw std::invalid_argument("invalid stoi argument");
    }
    if (errno == ERANGE || value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max()) {
        throw std::out_of_range("stoi argument out of range");
    }
    return static_cast<std::int32_t>(value);
}

float parseFloat(const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const float value = std::strtof(text.c_str(), &end);
    if (end == text.c_str()) {
        throw std::invalid_argument("invalid stof argument");
    }
    if (errno == ERANGE) {
        throw std::out_of_range("stof argument out of range");
    }
    return value;
}

QueryType parseMethod(const std::string& text) {
    static constexpr std::array<std::pair<std::string_view, QueryType>, 4> methods{{
        {"adaptive", QueryType::Adaptive},
        {"shape", QueryType::ByShape},
        {"text", QueryType::ByText},
        {"simple", QueryType::Simple},
    }};
    for (const auto& [name, type] : methods) {
        if (text == name) {
            return type;
        }
    }
    throw std::invalid_argument(text + " is not a valid query type");
}

}  // namespace

bool parseArguments(const std::vector<std::string>& arguments, RunOptions& options) {
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string& token = arguments[i];
        const auto value = [&]() -> std::string {
            ++i;
            return i < arguments.size() ? arguments[i] : std::string();
        };
        if (token == "/no-dedup") {
            options.dedupe = false;
        } else if (token == "/no-parallel-load") {
            options.parallelLoad = false;
        } else if (token == "/topk") {
            options.topK = static_cast<std::uint32_t>(parseInt32(value()));
        } else if (token == "/min") {
            options.minThreshold = parseFloat(value());
        } else if (token == "/filelist") {
            options.fileList = pathFromUtf8(value());
        } else if (token == "/encode") {
            options.queryBlock = pathFromUtf8(value());
        } else if (token == "/output") {
            options.output = pathFromUtf8(value());
        } else if (token == "/method") {
            options.queryType = parseMethod(value());
        } else if (token == "/pretty") {
            options.pretty = true;
        }
    }

    if (options.fileList.empty()) {
        print("ERROR: The input dwg file list path is empty");
    } else if (options.queryBlock.empty()) {
        print("ERROR: The input block encode path is empty");
    } else if (options.output.empty()) {
        print("ERROR: The input output file path is empty");
    } else {
        return true;
    }
    return false;
}

}  // namespace quillon
