#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "documents/binary_limits.h"
#include "documents/binary_walk.h"
#include "library/block_records.h"
#include "library/regular_drawing.h"
#include "shared/document_keys.h"
#include "shared/feature_matrix.h"

namespace quillon {
namespace {

using nlohmann::json;

/// Takes the events of the JSON library's parsers straight into blocks. Returning false ends the
/// parse: the document is not regular.
class RegularEvents {
  public:
    explicit RegularEvents(std::size_t fileBytes) : limits(fileBytes) {}

    /// The drawing, after a whole document without a false.
    std::optional<DrawingBlocks> takeDrawing() {
        const bool isComplete = seen[0] && seen[1] && seen[2];
        if (isComplete && drawing.shapes.rows() == drawing.blocks.size() &&
            drawing.texts.rows() == drawing.blocks.size()) {
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
        const bool isRoot = limits.currentDepth() == 0;
        return (isRoot || member == Member::other) && limits.open();
    }
    bool end_object() { return limits.close(); }

    bool key(std::string& name) {
        if (limits.currentDepth() > 1) {
            return true;
        }
        member = memberNamed(name);
        if (member == Member::other) {
            return true;
        }
        // A member that stands twice is not regular.
        return !std::exchange(seen[static_cast<std::size_t>(member)], true);
    }

    bool start_array(std::size_t /*size*/) {
        if (member != Member::other) {
            GrowingRows* rows = rowsOfMember();
            if (limits.currentDepth() == 2 && rows != nullptr) {
                next = rows->append();
                vectorEnd = next + rows->rowWidth();
            } else if (limits.currentDepth() != 1) {
                return false;
            }
        }
        return limits.open();
    }

    bool end_array() {
        if (limits.currentDepth() == 3 && member != Member::other) {
            if (next != vectorEnd || !limits.value(rowsOfMember()->rowWidth())) {
                return false;
            }
            next = vectorEnd = nullptr;
        }
        return limits.close();
    }

    static bool parse_error(std::size_t /*position*/, const std::string& /*lastToken*/,
                            const json::exception& /*error*/) {
        return false;
    }

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
            *next++ = value;  // counted when the vector ends
            return true;
        }
        return irrelevantValue();
    }

    /// A value that is none of a regular member's: fine in other members, and only there.
    bool irrelevantValue() {
        return member == Member::other && limits.currentDepth() > 0 && limits.value();
    }

    BinaryLimits limits;
    Member member = Member::other;  // the top-level member that the events belong to
    std::array<bool, 3> seen{};
    // Where the next number of the open vector goes; equal when no vector is open or it is full.
    float* next = nullptr;
    float* vectorEnd = nullptr;
    DrawingBlocks drawing;
};

}  // namespace

std::optional<DrawingBlocks> readRegularBinary(std::string_view bytes,
                                               json::input_format_t format) {
    RegularEvents events(bytes.size());
    try {
        if (!walkBinary(bytes, format, events)) {
            return std::nullopt;
        }
    } catch (const ReaderStackExceeded&) {
        return std::nullopt;
    }
    return events.takeDrawing();
}

}  // namespace quillon
