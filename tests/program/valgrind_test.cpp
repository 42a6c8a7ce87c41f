// Reads behind the end of memory that no sanitizer sees, because a library makes them: valgrind
// does.
#include <gtest/gtest.h>

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "program/program_folder.h"
#include "support/documents.h"

#ifndef _WIN32

namespace quillon::test {
namespace {

using nlohmann::json;

/// JSON text of `size` bytes that ends with the key of its one block: the text whose end the
/// parser looks beyond.
std::string drawingOf(std::size_t size, const std::string& code) {
    json drawing = encodings({{"a*" + code + "*1", 1.25}});
    const std::string vectors = "{\"shape\":" + drawing["shape"].dump() +
                                ",\"text\":" + drawing["text"].dump() + ",\"blocks\":[\"a*" + code +
                                "*1*";
    const std::string end = "\"]}";
    return vectors + std::string(size - vectors.size() - end.size(), 'x') + end;
}

// The parser wants 64 bytes behind a document. A drawing that fills the memory kept from the one
// before leaves none, unless that grows.
TEST(UnderValgrind, EveryDrawingHasItsPadding) {
    const TempFolder folder;
    std::vector<std::string> names;
    for (const std::size_t more : {0U, 64U, 65U, 129U, 200U}) {
        names.push_back(std::to_string(more) + ".json");
        folder.write(names.back(), drawingOf(256 * 1024 + more, std::to_string(more)));
    }
    writeQueryAndList(folder, names);
    const std::size_t count = names.size();
    ConsoleText console;
    console.parallel = false;
    expectSuccess(
        runIn(folder, {"/no-parallel-load"}, {"valgrind", "--quiet", "--error-exitcode=99"}),
        console.untilFiles(count) + ConsoleText::summary(count, count, count, 0) +
            ConsoleText::success());
}

}  // namespace
}  // namespace quillon::test

#endif
