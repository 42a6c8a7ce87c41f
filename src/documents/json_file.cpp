#include "documents/json_file.h"

#include <array>
#include <cerrno>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "documents/binary_limits.h"
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

json readJsonFile(const std::filesystem::path& path) {
    const std::optional<Format> format = documentFormat(path);
    std::ifstream stream(path,
                         format == Format::json ? std::ios::in : std::ios::in | std::ios::binary);
    const int openError = stream ? 0 : errno;
    // Some systems open a folder as if it were a file, and fail when it is read.
    stream.peek();
    if (!stream.is_open() || stream.bad()) {
        if (openError == ENOMEM) {
            throw std::bad_alloc();
        }
        const std::string text = "fail to open input file: " + utf8FromPath(path);
        if (openError == EMFILE || openError == ENFILE) {
            throw OpenRefused(text);
        }
        throw std::runtime_error(text);
    }
    if (!format) {
        throw std::runtime_error("Unknown input file format! " + utf8FromPath(path));
    }
    if (format == Format::json) {
        // What json::parse does, but with the tree in our hands when it throws.
        JsonTree document;
        TreeBuilder builder(document.root);
        json::sax_parse(stream, &builder);
        return std::move(document.root);
    }
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    checkBinaryLimits(bytes, *format, path);
    return parseBinary(bytes, *format);
}

json parseBinary(std::string_view bytes, Format format) {
    JsonTree document;
    TreeBuilder builder(document.root);
    if (!json::sax_parse(bytes, &builder, format)) {
        // The library's BSON reader gives up without a word when the file ends before a string's
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
