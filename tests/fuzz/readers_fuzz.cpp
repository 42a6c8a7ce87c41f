// Every reader on bytes of all kinds: a document or an exception of the known types, and whatever
// was read can be written and read again.
#include <cstdint>
#include <stdexcept>

#include "documents/json_file.h"
#include "fuzz/fuzz_input.h"
#include "shared/json_tree.h"
#include "support/formats.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

void readAndWrite(std::string_view extension, std::string_view bytes) {
    static const TempFolder folder;
    const auto path = folder.write("document" + std::string(extension), bytes);
    JsonTree document;
    try {
        document.root = readJsonFile(path);
    } catch (const std::runtime_error&) {
        return;
    } catch (const nlohmann::json::exception&) {
        return;
    }
    const auto again = folder.path() / "again.msgpack";
    writeJsonFile(document.root, again, false);
    const JsonTree copy(readJsonFile(again));
    // Bytes and not values, since no NaN equals another; and MessagePack, which takes all there is.
    require(nlohmann::json::to_msgpack(copy.root) == nlohmann::json::to_msgpack(document.root),
            "what was read can be written and read again");
}

}  // namespace
}  // namespace quillon::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    quillon::test::FuzzInput input(data, size);
    const std::string_view extension = input.anyOf(quillon::test::allExtensions);
    quillon::test::readAndWrite(extension, input.rest());
    return 0;
}
