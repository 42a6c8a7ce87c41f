#include "documents/binary_limits.h"

#include <stdexcept>
#include <string>

#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;

/// The event interface of the JSON library's parsers; false ends the walk.
struct LimitWalk {
    BinaryLimits limits;

    bool null() { return limits.value(); }
    bool boolean(bool /*value*/) { return limits.value(); }
    bool number_integer(json::number_integer_t /*value*/) { return limits.value(); }
    bool number_unsigned(json::number_unsigned_t /*value*/) { return limits.value(); }
    bool number_float(json::number_float_t /*value*/, const std::string& /*text*/) {
        return limits.value();
    }
    bool string(std::string& /*value*/) { return limits.value(); }
    bool binary(json::binary_t& /*value*/) { return limits.value(); }
    bool key(std::string& /*value*/) { return true; }
    bool start_object(std::size_t /*size*/) { return limits.open(); }
    bool start_array(std::size_t /*size*/) { return limits.open(); }
    bool end_object() { return limits.close(); }
    bool end_array() { return limits.close(); }
    static bool parse_error(std::size_t /*position*/, const std::string& /*lastToken*/,
                            const json::exception& /*error*/) {
        return false;
    }
};

}  // namespace

void WatchedByte::fail() {
    throw ReaderStackExceeded();
}

void checkLimits(const BinaryLimits& limits, const std::filesystem::path& path) {
    if (limits.tooDeep()) {
        throw std::runtime_error("document nested deeper than " + std::to_string(maxBinaryNesting) +
                                 " levels: " + utf8FromPath(path));
    }
    if (limits.tooMany()) {
        throw std::runtime_error("document announces more than " +
                                 std::to_string(limits.valueLimit()) +
                                 " values: " + utf8FromPath(path));
    }
}

void failForStack(const std::filesystem::path& path) {
    throw std::runtime_error("document nested too deeply for " +
                             std::to_string(maxReaderStackBytes >> 20U) +
                             " MiB of stack: " + utf8FromPath(path));
}

void checkBinaryLimits(std::string_view bytes, json::input_format_t format,
                       const std::filesystem::path& path) {
    LimitWalk walk{BinaryLimits(bytes.size())};
    walkWithinLimits(bytes, format, path, walk);
}

}  // namespace quillon
