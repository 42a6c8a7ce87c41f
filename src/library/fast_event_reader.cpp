// The fast path from the binary formats by the events of the JSON library's readers, and the choice
// of a reader for each format.
#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "documents/binary_limits.h"
#include "library/block_key.h"
#include "library/fast_readers.h"
#include "shared/document_keys.h"
#include "shared/feature_matrix.h"

namespace quillon {
namespace {

using nlohmann::json;

/// Takes the events of the JSON library's parsers straight into blocks. Once the document turns out
/// not to be well-formed, what has been taken is dropped and only the limits are counted to the
/// end.
class FastEvents {
  public:
    explicit FastEvents(std::size_t fileBytes) : limits(fileBytes) {}

    /// The drawing, after a whole document.
    std::optional<Drawing> takeDrawing() {
        if (isWellFormed && seen[0] && seen[1] && seen[2] && hasEqualLengths(drawing)) {
            return std::move(drawing);
        }
        return std::nullopt;
    }

    bool number_integer(json::number_integer_t value) { return number(static_cast<float>(value)); }
    bool number_unsigned(json::number_unsigned_t value) {
        return number(static_cast<float>(value));
    }
    // The library passes an empty literal, which as a std::string would take longer than the
    // number.
    bool number_float(json::number_float_t value, std::string_view /*text*/) {
        return number(static_cast<float>(value));
    }
    bool null() { return irrelevantValue(); }
    bool boolean(bool /*value*/) { return irrelevantValue(); }
    bool binary(json::binary_t& /*value*/) { return irrelevantValue(); }

    bool string(std::string& value) {
        if (member == Member::blocks && limits.currentDepth() == 2 && hasThreeFields(value)) {
            drawing.blocks.emplace_back().key = std::move(value);
            return limits.value();
        }
        return irrelevantValue();
    }

    bool start_object(std::size_t /*size*/) {
        keepIf(member == Member::other);
        return limits.open();
    }
    bool end_object() { return limits.close(); }

    bool key(std::string& name) {
        if (isWellFormed && limits.currentDepth() == 1) {
            member = memberNamed(name);
            if (member != Member::other) {
                keepIf(!std::exchange(seen[static_cast<std::size_t>(member)], true));
            }
        }
        return true;
    }

    bool start_array(std::size_t /*size*/) {
        if (GrowingRows* rows = rowsOfMember(); rows != nullptr && limits.currentDepth() == 2) {
            next = rows->append();
            vectorEnd = next + rows->rowWidth();
        } else {
            keepIf(member == Member::other || limits.currentDepth() == 1);
        }
        return limits.open();
    }

    bool end_array() {
        keepIf(next == vectorEnd);
        next = vectorEnd = nullptr;
        return limits.close();
    }

    static bool parse_error(std::size_t /*position*/, const std::string& /*lastToken*/,
                            const json::exception& /*error*/) {
        return false;
    }

    BinaryLimits limits;

  private:
    enum class Member : std::size_t { blocks = 0, shape = 1, text = 2, other = 3 };

    static Member memberNamed(const std::string& name) {
        return name == blocksKey  ? Member::blocks
               : name == shapeKey ? Member::shape
               : name == textKey  ? Member::text
                                  : Member::other;
    }

    GrowingRows* rowsOfMember() {
        return member == Member::shape  ? &drawing.shapes
               : member == Member::text ? &drawing.texts
                                        : nullptr;
    }

    bool number(float value) {
        if (next != vectorEnd) {
            *next++ = value;
            return limits.value();
        }
        return irrelevantValue();
    }

    /// A value that is none of a well-formed member's: fine in other members, and only there.
    bool irrelevantValue() {
        keepIf(member == Member::other);
        return limits.value();
    }

    void keepIf(bool isStillWellFormed) {
        if (!isStillWellFormed) {
            isWellFormed = false;
            member = Member::other;
            next = vectorEnd = nullptr;
            drawing = {};
        }
    }

    bool isWellFormed = true;
    Member member = Member::other;  // the top-level member that the events belong to
    std::array<bool, 3> seen{};
    // Where the next number of the open vector goes; equal when no vector is open or it is full.
    float* next = nullptr;
    float* vectorEnd = nullptr;
    Drawing drawing;
};

}  // namespace

std::optional<Drawing> readEventsFast(std::string_view bytes, json::input_format_t format,
                                      const std::filesystem::path& path) {
    FastEvents events(bytes.size());
    return walkWithinLimits(bytes, format, path, events) ? events.takeDrawing() : std::nullopt;
}

std::optional<Drawing> readFast(std::string_view bytes, json::input_format_t format,
                                const std::filesystem::path& path, simdjson::dom::parser& parser) {
    if (format == json::input_format_t::json) {
        return readJsonFast(bytes, parser);
    }
    std::optional<Drawing> drawing;
    if (format == json::input_format_t::cbor || format == json::input_format_t::msgpack) {
        drawing = readPackedFast(bytes, format);
    }
    return drawing ? std::move(drawing) : readEventsFast(bytes, format, path);
}

}  // namespace quillon
