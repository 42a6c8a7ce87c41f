#include "limit.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <fstream>
#include <string_view>

#include "measure.h"

namespace quillon::bench {
namespace {

void moveRow(const char* from, std::size_t numberBytes, std::size_t width, float* row) {
    for (std::size_t i = 0; i < width; ++i) {
        if (numberBytes == 4) {
            std::uint32_t bits = 0;
            std::memcpy(&bits, from + 5 * i + 1, sizeof bits);
            row[i] = std::bit_cast<float>(__builtin_bswap32(bits));
        } else {
            std::uint64_t bits = 0;
            std::memcpy(&bits, from + 9 * i + 1, sizeof bits);
            row[i] = static_cast<float>(std::bit_cast<double>(__builtin_bswap64(bits)));
        }
    }
}

/// The vectors of a side follow one another, each with a head of 3 bytes: the texts at the
/// end of the file, the shapes ahead of the name of the texts.
void moveFile(std::string_view bytes, std::size_t numberBytes, MovedRows& rows) {
    const std::size_t shapeBytes = 3 + shapeWidth * (numberBytes + 1);
    const std::size_t textBytes = 3 + textWidth * (numberBytes + 1);
    // The keys may be as long as a block or two. Between the name of the texts and the first of
    // them stands their number, in up to 3 bytes.
    std::size_t count = bytes.size() / (shapeBytes + textBytes);
    const auto nameOfTexts = [&] {
        const std::size_t window = bytes.size() - count * textBytes - 8;
        const std::size_t name = bytes.substr(window, 8).find("text");
        return name == std::string_view::npos ? name : window + name;
    };
    while (count > 0 && nameOfTexts() == std::string_view::npos) {
        --count;
    }
    require(count > 0, "a file is not as it is thought to be");
    const std::size_t texts = bytes.size() - count * textBytes;
    const std::size_t shapes = nameOfTexts() - 1 - count * shapeBytes;
    for (std::size_t i = 0; i < count; ++i) {
        moveRow(bytes.data() + shapes + i * shapeBytes + 3, numberBytes, shapeWidth,
                rows.shapes.append());
        moveRow(bytes.data() + texts + i * textBytes + 3, numberBytes, textWidth,
                rows.texts.append());
    }
}

}  // namespace

std::vector<MovedRows> loadAtTheLimit(const std::vector<std::filesystem::path>& files,
                                      std::size_t numberBytes) {
    std::vector<MovedRows> moved(threadCount());
    std::atomic<std::size_t> next = 0;
    forEachIndex(moved.size(), [&](std::size_t thread) {
        std::vector<char> bytes;
        for (std::size_t i = next++; i < files.size(); i = next++) {
            std::ifstream stream(files[i], std::ios::binary | std::ios::ate);
            const auto size = static_cast<std::size_t>(stream.tellg());
            bytes.resize(std::max(bytes.size(), size));
            stream.seekg(0);
            stream.read(bytes.data(), static_cast<std::streamsize>(size));
            require(stream.good(), "a file cannot be read");
            moveFile({bytes.data(), size}, numberBytes, moved[thread]);
        }
    });
    return moved;
}

}  // namespace quillon::bench
