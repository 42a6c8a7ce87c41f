#include "documents/json_file.h"

#include <fstream>
#include <iomanip>
#include <iterator>
#include <stdexcept>
#include <string>

#include "documents/binary_limits.h"
#include "shared/utf8_path.h"

namespace quillon {

using nlohmann::json;

json readJsonFile(const std::filesystem::path& path) {
    const std::filesystem::path extension = path.extension();
    const bool isText = extension == ".json";
    std::ifstream stream(path, isText ? std::ios::in : std::ios::in | std::ios::binary);
    if (!stream) {
        throw std::runtime_error("fail to open input file: " + utf8FromPath(path));
    }
    if (isText) {
        return json::parse(stream);
    }
    const auto readChecked = [&](json::input_format_t format) {
        std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        checkBinaryLimits(bytes, format, path);
        return bytes;
    };
    if (extension == ".bson") {
        return json::from_bson(readChecked(json::input_format_t::bson));
    }
    if (extension == ".cbor") {
        return json::from_cbor(readChecked(json::input_format_t::cbor));
    }
    if (extension == ".msgpack") {
        return json::from_msgpack(readChecked(json::input_format_t::msgpack));
    }
    if (extension == ".ubj") {
        return json::from_ubjson(readChecked(json::input_format_t::ubjson));
    }
    if (extension == ".jdb") {
        return json::from_bjdata(readChecked(json::input_format_t::bjdata));
    }
    throw std::runtime_error("Unknown input file format! " + utf8FromPath(path));
}

void writeJsonFile(const json& document, const std::filesystem::path& path, bool pretty) {
    const std::filesystem::path extension = path.extension();
    const bool isText = extension == ".json";
    std::ofstream stream(path, isText ? std::ios::out : std::ios::out | std::ios::binary);
    if (!stream) {
        throw std::runtime_error("fail to open output file: " + utf8FromPath(path));
    }
    if (isText) {
        stream << std::setw(pretty ? 4 : 0) << document;
    } else if (extension == ".bson") {
        json::to_bson(document, stream);
    } else if (extension == ".cbor") {
        json::to_cbor(document, stream);
    } else if (extension == ".msgpack") {
        json::to_msgpack(document, stream);
    } else if (extension == ".ubj") {
        json::to_ubjson(document, stream);
    } else if (extension == ".jdb") {
        json::to_bjdata(document, stream);
    } else {
        throw std::runtime_error("Unknown output file format! " + utf8FromPath(path));
    }
}

}  // namespace quillon
