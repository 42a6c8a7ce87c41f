#include "documents/binary_limits.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;

/// The event interface of the JSON library's parsers; false ends the walk.
struct LimitCounter {
    std::size_t maxValues;
    std::size_t values = 0;
    std::size_t depth = 0;

    bool tooDeep() const { return depth > maxBinaryNesting; }
    bool tooMany() const { return values > maxValues; }
    bool count() { return ++values <= maxValues; }
    bool open() {
        ++depth;
        return count() && !tooDeep();
    }
    bool close() {
        --depth;
        return true;
    }

    bool null() { return count(); }
    bool boolean(bool /*value*/) { return count(); }
    bool number_integer(json::number_integer_t /*value*/) { return count(); }
    bool number_unsigned(json::number_unsigned_t /*value*/) { return count(); }
    bool number_float(json::number_float_t /*value*/, const std::string& /*text*/) {
        return count();
    }
    bool string(std::string& /*value*/) { return count(); }
    bool binary(json::binary_t& /*value*/) { return count(); }
    bool key(std::string& /*value*/) { return true; }
    bool start_object(std::size_t /*size*/) { return open(); }
    bool start_array(std::size_t /*size*/) { return open(); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }
    static bool parse_error(std::size_t /*position*/, const std::string& /*lastToken*/,
                            const json::exception& /*error*/) {
        return false;
    }
};

}  // namespace

void checkBinaryLimits(std::string_view bytes, json::input_format_t format,
                       const std::filesystem::path& path) {
    LimitCounter counter{std::max(bytes.size(), freeBinaryValues)};
    json::sax_parse(bytes.begin(), bytes.end(), &counter, format);
    if (counter.tooDeep()) {
        throw std::runtime_error("document nested deeper than " + std::to_string(maxBinaryNesting) +
                                 " levels: " + utf8FromPath(path));
    }
    if (counter.tooMany()) {
        throw std::runtime_error("document announces more than " +
                                 std::to_string(counter.maxValues) +
                                 " values: " + utf8FromPath(path));
    }
}

}  // namespace quillon
