#include "support/formats.h"

#include <stdexcept>

namespace quillon::test {

using nlohmann::json;

std::string encoded(const json& document, std::string_view extension) {
    std::string bytes;
    if (extension == ".json") {
        return document.dump(-1, ' ', false, json::error_handler_t::replace);
    }
    if (extension == ".bson") {
        if (document.is_object()) {
            json::to_bson(document, bytes);
        }
    } else if (extension == ".cbor") {
        json::to_cbor(document, bytes);
    } else if (extension == ".msgpack") {
        json::to_msgpack(document, bytes);
    } else if (extension == ".ubj") {
        json::to_ubjson(document, bytes);
    } else if (extension == ".jdb") {
        json::to_bjdata(document, bytes);
    } else {
        throw std::invalid_argument("no format has the extension " + std::string(extension));
    }
    return bytes;
}

json decoded(std::string_view bytes, std::string_view extension) {
    if (extension == ".json") {
        return json::parse(bytes);
    }
    if (extension == ".bson") {
        return json::from_bson(bytes);
    }
    if (extension == ".cbor") {
        return json::from_cbor(bytes);
    }
    if (extension == ".msgpack") {
        return json::from_msgpack(bytes);
    }
    if (extension == ".ubj") {
        return json::from_ubjson(bytes);
    }
    if (extension == ".jdb") {
        return json::from_bjdata(bytes);
    }
    throw std::invalid_argument("no format has the extension " + std::string(extension));
}

}  // namespace quillon::test
