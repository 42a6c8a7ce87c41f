#include "fuzz/fuzz_documents.h"

#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "support/documents.h"
#include "support/formats.h"

namespace quillon::test {
namespace {

using nlohmann::json;

json chooseLeaf(FuzzInput& input) {
    switch (input.choice(8)) {
        case 0:
            return nullptr;
        case 1:
            return input.flag();
        case 2:
            return input.take(input.choice(5));
        case 3:
            return json::array();
        case 4:
            return json::object();
        case 5:
            return json{{"inner", {1, json::array({"2"})}}};
        case 6:
            return json::binary({1, 2});
        default:
            return 0.5;
    }
}

json chooseNumber(FuzzInput& input) {
    switch (input.choice(8)) {
        case 0: {
            double value = 0.0;
            std::memcpy(&value, input.take(sizeof(value)).data(), sizeof(value));
            return value;
        }
        case 1: {
            float value = 0.0F;
            std::memcpy(&value, input.take(sizeof(value)).data(), sizeof(value));
            return value;
        }
        case 2: {
            std::int64_t value = 0;
            std::memcpy(&value, input.take(sizeof(value)).data(), sizeof(value));
            return value;
        }
        case 3: {
            std::uint64_t value = 0;
            std::memcpy(&value, input.take(sizeof(value)).data(), sizeof(value));
            return value;
        }
        default:
            return input.choice(4);
    }
}

/// What keeps a drawing from being well-formed clears `isWellFormed`.
json chooseVector(FuzzInput& input, std::size_t width, bool& isWellFormed) {
    const std::size_t kind = input.choice(64);
    if (kind == 0) {
        isWellFormed = false;
        return chooseLeaf(input);
    }
    std::vector<json> numbers(1 + input.choice(4));
    for (json& number : numbers) {
        number = chooseNumber(input);
        // JSON text knows no such number.
        isWellFormed = isWellFormed && std::isfinite(number.get<double>());
    }
    if (kind == 1) {
        isWellFormed = false;
        width = input.choice(3) == 0 ? 0 : width - 1 + 2 * input.choice(2);
    }
    json vector = json::array();
    for (std::size_t i = 0; i < width; ++i) {
        vector.push_back(numbers[i % numbers.size()]);
    }
    if (kind == 2 && width > 0) {
        isWellFormed = false;
        vector[input.byte() * width / 256] = chooseLeaf(input);
    }
    if (kind == 3) {
        isWellFormed = false;
        json object = json::object();
        for (std::size_t i = 0; i < width; ++i) {
            object[std::to_string(i)] = vector[i];
        }
        return object;
    }
    return vector;
}

json chooseKey(FuzzInput& input, bool& isWellFormed) {
    static const char* const wellFormed[] = {"n*a*1", "n*b*2", "m*a*0", "*c*0*further",
                                             "\xC3\x9C**"};
    const std::size_t kind = input.choice(64);
    if (kind == 0) {
        isWellFormed = false;
        return chooseLeaf(input);
    }
    if (kind == 1) {
        isWellFormed = false;
        return input.take(input.choice(12));
    }
    return input.anyOf(wellFormed);
}

json chooseDrawingTree(FuzzInput& input, bool& isWellFormed) {
    json document = encodings({});
    const std::size_t blocks = input.choice(4);
    for (std::size_t i = 0; i < blocks; ++i) {
        document["blocks"].push_back(chooseKey(input, isWellFormed));
        document["shape"].push_back(chooseVector(input, 512, isWellFormed));
        document["text"].push_back(chooseVector(input, 384, isWellFormed));
    }
    static const char* const members[] = {"blocks", "shape", "text"};
    switch (input.choice(32)) {
        case 0:
            isWellFormed = false;
            document.erase(input.anyOf(members));
            break;
        case 1:
            isWellFormed = false;
            document[input.anyOf(members)] = chooseLeaf(input);
            break;
        case 2:
            isWellFormed = false;
            document[input.anyOf(members)].push_back(chooseLeaf(input));
            break;
        case 3:
            document["another"] = {1, "two", {{"shape", {nullptr}}}};
            break;
        default:
            break;
    }
    return document;
}

json chooseQueryTree(FuzzInput& input) {
    static const char* const texts[] = {"Door 23_3", "A$C1", "12", "", "\xE6\xA4\x85\xE5\xAD\x90"};
    bool ignored = true;
    json document{{"shape", json::array()}, {"text", json::array()}, {"queryText", json::array()}};
    for (const auto& [side, width] : {std::pair("shape", 512U), std::pair("text", 384U)}) {
        const std::size_t rowCount = input.choice(8) == 0 ? input.choice(3) : 1;
        for (std::size_t i = 0; i < rowCount; ++i) {
            document[side].push_back(chooseVector(input, width, ignored));
        }
    }
    switch (input.choice(6)) {
        case 0:
            document["queryText"].push_back(input.take(input.choice(12)));
            break;
        case 1:
            document["queryText"] = chooseLeaf(input);
            break;
        case 2:
            document["queryText"].push_back(chooseLeaf(input));
            break;
        default:
            document["queryText"].push_back(input.anyOf(texts));
            break;
    }
    return document;
}

/// UBJSON and BJData know several ways to write one document.
std::string encodedInSomeWay(const json& document, std::string_view extension, FuzzInput& input) {
    const std::size_t way = input.choice(4);
    std::string bytes;
    if (extension == ".ubj" && way > 0) {
        json::to_ubjson(document, bytes, true, way > 1);
    } else if (extension == ".jdb" && way > 0) {
        json::to_bjdata(document, bytes, true, way > 1);
    } else {
        bytes = encoded(document, extension);
    }
    return bytes;
}

std::size_t choosePlace(FuzzInput& input, std::size_t size) {
    const std::size_t high = input.byte();
    return (high * 256 + input.byte()) % (size + 1);
}

/// Up to four changes; most documents stay whole.
bool changeBytes(FuzzInput& input, std::string& bytes) {
    const std::size_t kind = input.choice(16);
    const std::size_t changes = kind < 4 ? kind + 1 : 0;
    for (std::size_t i = 0; i < changes; ++i) {
        const std::size_t place = choosePlace(input, bytes.size());
        switch (input.choice(4)) {
            case 0:
                bytes.resize(place);
                break;
            case 1:
                bytes.insert(place, input.take(input.choice(10)));
                break;
            case 2:
                bytes.erase(place, 1 + input.choice(8));
                break;
            default:
                if (place < bytes.size()) {
                    bytes[place] = static_cast<char>(input.byte());
                }
                break;
        }
    }
    return changes > 0;
}

template <class ChooseTree>
FuzzDocument chooseDocument(FuzzInput& input, const ChooseTree& chooseTree) {
    FuzzDocument document;
    document.extension = input.anyOf(allExtensions);
    document.isWellFormed = true;
    const json tree = chooseTree(input, document.isWellFormed);
    try {
        document.bytes = encodedInSomeWay(tree, document.extension, input);
    } catch (const json::exception&) {
        document.isWellFormed = false;  // the format has no such value
    }
    if (changeBytes(input, document.bytes)) {
        document.isWellFormed = false;
    }
    return document;
}

}  // namespace

FuzzDocument chooseDrawing(FuzzInput& input) {
    return chooseDocument(input, chooseDrawingTree);
}

FuzzDocument chooseQuery(FuzzInput& input) {
    return chooseDocument(input,
                          [](FuzzInput& choices, bool&) { return chooseQueryTree(choices); });
}

}  // namespace quillon::test
