// Runs a fuzz target on every file of the folders it is given, without a fuzzer:
//     REPLAY FOLDER ...
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "support/temp_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** values) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    int files = 0;
    for (int i = 1; i < count; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(values[i])) {
            // Before it runs, so that the last name printed is the one that fails.
            std::printf("%s\n", entry.path().filename().string().c_str());
            const std::string bytes = quillon::test::readBytes(entry.path());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++files;
        }
    }
    return files > 0 ? 0 : 1;
}
