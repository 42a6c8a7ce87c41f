// Small binary documents that announce more than they hold, or more than a machine can.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program/broken_files.h"
#include "program/program_folder.h"

namespace quillon::test {
namespace {

using namespace std::string_literals;
using nlohmann::json;

TEST(AnnouncedSizes, AnnouncedSizesAreNotBelieved) {
    const std::string largest32 = "\x7f\xff\xff\xff";
    const std::string largest64 = largest32 + "\xff\xff\xff\xff";
    const std::string largestLittle32 = "\xff\xff\xff\x7f";
    const std::string all32 = "\xff\xff\xff\xff";
    const std::string all64 = all32 + all32;
    const std::vector<HostileBytes> files{
        {"array of 2^32", "cbor", "\x9a" + all32},
        {"array of 2^63", "cbor", "\x9b" + largest64},
        {"array of 2^64", "cbor", "\x9b" + all64},
        {"object of 2^32", "cbor", "\xba" + all32},
        {"object of 2^63", "cbor", "\xbb" + largest64},
        {"text of 2^32", "cbor", "\x7a" + all32 + "text"},
        {"text of 2^64", "cbor", "\x7b" + all64 + "text"},
        {"bytes of 2^32", "cbor", "\x5a" + all32 + "text"},
        {"bytes of 2^64", "cbor", "\x5b" + all64 + "text"},
        {"arrays in arrays", "cbor", repeated("\x9a" + all32, 2000)},
        {"array of 2^32", "msgpack", "\xdd" + all32},
        {"object of 2^32", "msgpack", "\xdf" + all32},
        {"text of 2^32", "msgpack", "\xdb" + all32 + "text"},
        {"bytes of 2^32", "msgpack", "\xc6" + all32 + "text"},
        {"extension of 2^32", "msgpack", "\xc9" + all32 + "text"},
        {"arrays in arrays", "msgpack", repeated("\xdd" + all32, 2000)},
        {"document", "bson", largestLittle32},
        {"text", "bson", "\x20\0\0\0\x02k\0"s + largestLittle32 + "text\0\0"s},
        {"text of no size", "bson", "\x20\0\0\0\x02k\0\0\0\0\0text\0\0"s},
        {"text of negative size", "bson", "\x20\0\0\0\x02k\0"s + all32 + "text\0\0"s},
        {"bytes", "bson", "\x20\0\0\0\x05k\0"s + largestLittle32 + "\0text\0"s},
        {"bytes of negative size", "bson", "\x20\0\0\0\x05k\0"s + all32 + "\0text\0"s},
        {"array", "bson", "\x20\0\0\0\x04k\0"s + largestLittle32},
        {"array", "ubj", "[#l" + largest32},
        {"array of 2^63", "ubj", "[#L" + largest64},
        {"array of negative size", "ubj", "[#l" + all32},
        {"array of bytes", "ubj", "[$U#l" + largest32 + "text"},
        {"array of arrays", "ubj", "[$[#l" + largest32},
        {"array of texts", "ubj", "[$S#L" + largest64},
        {"object", "ubj", "{#l" + largest32},
        {"object of nulls", "ubj", "{$Z#L" + largest64},
        {"text", "ubj", "Sl" + largest32 + "text"},
        {"text of 2^63", "ubj", "SL" + largest64 + "text"},
        {"text of negative size", "ubj", "Sl" + all32 + "text"},
        {"precise number", "ubj", "Hl" + largest32 + "1234"},
        {"array", "jdb", "[#m" + all32},
        {"array of 2^64", "jdb", "[#M" + all64},
        {"array of doubles", "jdb", "[$d#M" + all32 + largestLittle32 + "text"},
        {"array of nulls", "jdb", "[$Z#m" + all32},
        {"matrix", "jdb", "[$d#[l" + largestLittle32 + "l" + largestLittle32 + "]"},
        {"matrix past 2^64", "jdb", "[$U#[M\0\0\0\0\1\0\0\0M\1\0\0\0\1\0\0\0]"s},
        {"matrix of 2^64", "jdb", "[$U#[M\0\0\0\0\1\0\0\0M\0\0\0\0\1\0\0\0]"s},
        {"dimensions", "jdb", "[$U#[$U#m" + all32},
        {"text", "jdb", "Sm" + all32 + "text"},
    };
    const TempFolder folder;
    for (const HostileBytes& file : files) {
        const std::string name = std::string("announced.") + file.format;
        SCOPED_TRACE(name + " " + file.label);
        const std::string failure = parseFailure(file.bytes, file.format);
        ASSERT_NE(failure, "");
        folder.write(name, std::string_view(file.bytes));
        expectFailureInEveryRole(folder, {name, failure});
    }
}

// Nulls and booleans that a document announces cost it no bytes of its own.
TEST(AnnouncedSizes, RepeatsThatCostNoBytesHaveALimit) {
    const TempFolder folder;
    for (const char* marker : {"Z", "T", "F"}) {
        SCOPED_TRACE(marker);
        const std::string array = std::string("[$") + marker + "#l\x7f\xff\xff\xff";
        folder.write("repeat.ubj", std::string_view(array));
        expectFailureInEveryRole(
            folder, {"repeat.ubj", "document announces more than 1048576 values: repeat.ubj"});
        folder.write("repeat.ubj", std::string_view("{i\5files[" + repeated(array, 900)));
        expectFailureInEveryRole(
            folder, {"repeat.ubj", "document announces more than 1048576 values: repeat.ubj"});
    }
}

// Each of these drawings has nine bytes and is just within the limit: together they must not add
// up.
TEST(AnnouncedSizes, ManySmallDrawingsTakeNoGigabytes) {
    const TempFolder folder;
    writeGoodRun(folder);
    std::vector<std::string> paths{"good.json"};
    for (std::size_t i = 0; i < 100; ++i) {
        paths.push_back("repeat-" + std::to_string(i) + ".ubj");
        folder.write(paths.back(), std::string_view("[$Z#l\0\x0f\xf0\0"s));
    }
    folder.write("list.json", listDocument(paths));
    const ProgramResult result = runIn(folder, {"/method", "shape"});
    expectCleanEnd(result);
    EXPECT_LT(result.peakMiB, 512U);
}

}  // namespace
}  // namespace quillon::test
