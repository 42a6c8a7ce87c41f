#include "documents/json_file.h"

#include <array>
#include <fstream>
#include <iomanip>
#include <stdexcept>
#include <string>
#include <utility>

#include "documents/binary_limits.h"
#include "documents/input_file.h"
#include "shared/json_tree.h"
#include "shared/utf8_path.h"

namespace quillon {

using nlohmann::json;
using Format = json::input_format_t;
using TreeBuilder = nlohmann::detail::json_sax_dom_parser<json>;

std::optional<Format> documentFormat(const std::filesystem::path& path) {
    static constexpr std::array<std::pair<const char*, Format>, 6> formats{{
        {".json", Format::json},
        {".bson", Format::bson},
        {".cbor", Format::cbor},
        {".msgpack", Format::msgpack},
        {".ubj", Format::ubjson},
        {".jdb", Format::bjdata},
    }};
    const std::filesystem::path extension = path.extension();
    for (const auto& [known, format] : formats) {
        if (extension == known) {
            return format;
        }
    }
    return std::nullopt;
}

Format knownFormat(const std::filesystem::path& path) {
    if (const std::optional<Format> format = documentFormat(path)) {
        return *format;
    }
    throw std::runtime_error("Unknown input file format! " + utf8FromPath(path));
}

json readJsonFile(const std::filesystem::path& path) {
    InputFile file(path);
    const Format format = knownFormat(path);
    const FileBytes bytes = file.readAll();
    if (format != Format::json) {
        checkBinaryLimits(bytes.view(), format, path);
    }
    return parseDocument(bytes.view(), format);
}

json parseDocument(std::string_view bytes, Format format) {
    // What json::parse does, but with the tree in our hands when it throws.
    JsonTree document;
    TreeBuilder builder(document.root);
    if (!json::sax_parse(bytes, &builder, format)) {
        // The library's BSON reader stops without an error when the file ends before a string's
        // closing NUL.
        throw json::parse_error::create(
            110, bytes.size() + 1,
            "syntax error while parsing BSON string: unexpected end of input", nullptr);
    }
    return std::move(document.root);
}

void writeJsonFile(const json& document, const std::filesystem::path& path, bool pretty) {
    const std::optional<Format> format = documentFormat(path);
    std::ofstream stream(path,
                         format == Format::json ? std::ios::out : std::ios::out | std::ios::binary);
    if (!stream) {
        throw std::runtime_error("fail to open output file: " + utf8FromPath(path));
    }
    if (!format) {
        throw std::runtime_error("Unknown output file format! " + utf8FromPath(path));
    }
    switch (*format) {
        case Format::json:
            stream << std::setw(pretty ? 4 : 0) << document;
            break;
        case Format::bson:
            json::to_bson(document, stream);
            break;
        case Format::cbor:
            json::to_cbor(document, stream);
            break;
        case Format::msgpack:
            json::to_msgpack(document, stream);
            break;
        case Format::ubjson:
            json::to_ubjson(document, stream);
            break;
        case Format::bjdata:
            json::to_bjdata(document, stream);
            break;
    }
}

}  // namespace quillon
