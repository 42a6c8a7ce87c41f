#include "support/odd_documents.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "support/documents.h"

namespace quillon::test {
namespace {

using nlohmann::json;

std::size_t draw(std::mt19937& random, std::size_t limit) {
    return random() % limit;
}

json drawNumber(std::mt19937& random) {
    switch (draw(random, 40)) {
        case 0:
            return -0.0;
        case 1:
            return 9007199254740993;  // 2^53 + 1
        case 2:
            return std::numeric_limits<std::int64_t>::max();
        case 3:
            return std::numeric_limits<std::int64_t>::min();
        case 4:
            return 1e300;
        case 5:
            return 1e-42;
        case 6:
            return -static_cast<std::int64_t>(random());
        case 7:
            return 16777217;  // 2^24 + 1
        case 8:
            return 36028797018963971;  // rounds differently by way of a double: 2^55 + 3
        case 9:
            return 1.00000017881393432617187499;  // between two floats
        case 10:
            return 1152921573326323713;  // just over halfway between two floats
        default:
            return static_cast<double>(random()) / 4294967296.0 - 0.5;
    }
}

json drawVector(std::size_t width, std::mt19937& random) {
    json vector = json::array();
    for (std::size_t i = 0; i < width; ++i) {
        vector.push_back(drawNumber(random));
    }
    return vector;
}

/// One of values that are of every type but the wanted one.
json oddValue(std::mt19937& random, json::value_t wanted) {
    static const std::vector<json> values{nullptr,
                                          true,
                                          7,
                                          -7,
                                          0.5,
                                          "text",
                                          json::array(),
                                          json::array({1, 2}),
                                          json::object(),
                                          json{{"a", json::array({1})}}};
    while (true) {
        const json& value = values[draw(random, values.size())];
        if (value.type() != wanted) {
            return value;
        }
    }
}

json& anyElement(json& array, std::mt19937& random) {
    return array[draw(random, array.size())];
}

json& anyVector(json& document, std::mt19937& random) {
    return anyElement(document[draw(random, 2) == 0 ? "shape" : "text"], random);
}

const char* anyMember(std::mt19937& random) {
    static const char* const names[] = {"blocks", "shape", "text"};
    return names[draw(random, 3)];
}

json asObject(const json& vector) {
    json object = json::object();
    for (std::size_t i = 0; i < vector.size(); ++i) {
        object["k" + std::to_string(i)] = vector[i];
    }
    return object;
}

json nested(std::size_t depth) {
    json value = json::array();
    for (std::size_t i = 1; i < depth; ++i) {
        value = json::array({std::move(value)});
    }
    return value;
}

struct IllFormedKind {
    const char* name;
    std::function<void(json&, std::mt19937&)> apply;
};

const std::vector<IllFormedKind>& illFormedKinds() {
    static const std::vector<IllFormedKind> all{
        {"another top level", [](json& d, auto& r) { d = oddValue(r, json::value_t::object); }},
        {"a missing member", [](json& d, auto& r) { d.erase(anyMember(r)); }},
        {"a member of another type",
         [](json& d, auto& r) { d[anyMember(r)] = oddValue(r, json::value_t::array); }},
        {"an empty member", [](json& d, auto& r) { d[anyMember(r)] = json::array(); }},
        {"vectors too many",
         [](json& d, auto& r) {
             d[draw(r, 2) == 0 ? "shape" : "text"].push_back(oddValue(r, json::value_t::discarded));
         }},
        {"vectors too few",
         [](json& d, auto& r) {
             json& vectors = d[draw(r, 2) == 0 ? "shape" : "text"];
             vectors.erase(vectors.size() - 1);
         }},
        {"a vector too long", [](json& d, auto& r) { anyVector(d, r).push_back(drawNumber(r)); }},
        {"a vector too short",
         [](json& d, auto& r) {
             json& vector = anyVector(d, r);
             vector.erase(vector.size() - 1);
         }},
        {"a vector of another type",
         [](json& d, auto& r) { anyVector(d, r) = oddValue(r, json::value_t::discarded); }},
        {"a vector as an object",
         [](json& d, auto& r) {
             json& vector = anyVector(d, r);
             vector = asObject(vector);
         }},
        {"an element of another type",
         [](json& d, auto& r) {
             json& vector = anyVector(d, r);
             json odd = oddValue(r, json::value_t::number_float);
             while (odd.is_number()) {
                 odd = oddValue(r, json::value_t::number_float);
             }
             const std::size_t places[] = {0, vector.size() / 2, vector.size() - 1};
             vector[places[draw(r, 3)]] = odd;
         }},
        {"a key of another type",
         [](json& d, auto& r) { anyElement(d["blocks"], r) = oddValue(r, json::value_t::string); }},
        {"a key of few fields",
         [](json& d, auto& r) {
             static const char* const keys[] = {"", "name", "name*code", "*"};
             anyElement(d["blocks"], r) = keys[draw(r, 4)];
         }},
        {"a key that is not UTF-8",
         [](json& d, auto& r) { anyElement(d["blocks"], r) = "n\xFF*c1*h"; }},
        {"a bad vector under a key that is not UTF-8",
         [](json& d, auto& r) {
             const std::size_t i = draw(r, d["blocks"].size());
             d["blocks"][i] = "n\xFF*c1*h";
             d["shape"][i] = nullptr;
         }},
        {"a block nested deeply",
         [](json& d, auto& r) {
             const std::size_t i = draw(r, d["blocks"].size());
             d["blocks"][i] = nested(400);
             d["text"][i] = 1;
         }},
        {"a vector nested too deeply", [](json& d, auto& r) { anyVector(d, r) = nested(600); }},
        {"another member nested too deeply", [](json& d, auto&) { d["other"] = nested(600); }},
    };
    return all;
}

struct Damage {
    const char* name;
    std::function<void(std::string&, std::mt19937&)> apply;
};

/// Replaces the text of one number.
void replaceNumber(std::string& text, std::string_view number) {
    const std::size_t begin = text.find("[[") + 2;
    text.replace(begin, text.find_first_of(",]", begin) - begin, number);
}

const std::vector<Damage>& damages() {
    static const std::vector<Damage> all{
        {"cut off", [](std::string& t, auto& r) { t.resize(draw(r, t.size())); }},
        {"a byte changed",
         [](std::string& t, auto& r) { t[draw(r, t.size())] = static_cast<char>(r()); }},
        {"text behind", [](std::string& t, auto&) { t += " x"; }},
        {"white space around", [](std::string& t, auto&) { t = "\n\t " + t + "\r\n "; }},
        {"a NUL behind", [](std::string& t, auto&) { t += '\0'; }},
        {"a byte order mark", [](std::string& t, auto&) { t.insert(0, "\xEF\xBB\xBF"); }},
        {"a member twice",
         [](std::string& t, auto& r) {
             t.insert(1, '"' + std::string(anyMember(r)) + "\":[[1],\"a*b*c\"],");
         }},
        {"a member twice, the last one empty",
         [](std::string& t, auto& r) {
             t.insert(t.size() - 1, ",\"" + std::string(anyMember(r)) + "\":[]");
         }},
        {"a member's name escaped",
         [](std::string& t, auto&) { t.replace(t.find("\"shape\""), 7, R"("sh\u0061pe")"); }},
        {"a whole number beyond 64 bits",
         [](std::string& t, auto&) { replaceNumber(t, "18446744073709551616"); }},
        {"a whole number of 64 bits",
         [](std::string& t, auto&) { replaceNumber(t, "18446744073709551615"); }},
        {"a number beyond doubles", [](std::string& t, auto&) { replaceNumber(t, "1e400"); }},
        {"a number below doubles", [](std::string& t, auto&) { replaceNumber(t, "-1e-400"); }},
        {"minus zero as a whole number", [](std::string& t, auto&) { replaceNumber(t, "-0"); }},
        {"a number with a leading zero", [](std::string& t, auto&) { replaceNumber(t, "01"); }},
        {"NaN as a word", [](std::string& t, auto&) { replaceNumber(t, "NaN"); }},
        {"a lone surrogate",
         [](std::string& t, auto&) { t.insert(t.find("\"blocks\":[") + 10, R"("\udc00*a*b",)"); }},
        {"an escaped key text",
         [](std::string& t, auto&) {
             t.replace(t.find("\"blocks\":[\"") + 11, 0, R"(\u00e4\ud83d\ude00\n\"\u0000)");
         }},
    };
    return all;
}

}  // namespace

json wellFormedDocument(std::mt19937& random) {
    static const char* const handles[] = {"0", "1F", "00", "2A*further"};
    json document = encodings({});
    const std::size_t count = 1 + draw(random, 4);
    for (std::size_t i = 0; i < count; ++i) {
        document["blocks"].push_back("T\xC3\x9CR " + std::to_string(draw(random, 100)) + "*c" +
                                     std::to_string(draw(random, 12)) + "*" +
                                     handles[draw(random, 4)]);
        document["shape"].push_back(drawVector(512, random));
        document["text"].push_back(drawVector(384, random));
    }
    if (draw(random, 3) == 0) {
        document["another"] = json{{"shape", json::array({nullptr, "x", true})}, {"n", 1.5}};
    }
    return document;
}

const std::size_t illFormedCount = illFormedKinds().size();

std::string makeIllFormed(json& document, std::size_t kind, std::mt19937& random) {
    illFormedKinds()[kind].apply(document, random);
    return illFormedKinds()[kind].name;
}

const std::size_t damageCount = damages().size();

std::string damageText(std::string& text, std::size_t kind, std::mt19937& random) {
    damages()[kind].apply(text, random);
    return damages()[kind].name;
}

}  // namespace quillon::test
