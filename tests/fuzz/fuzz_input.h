// The fuzzer's bytes as a row of choices, which is 0 once it has ended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace quillon::test {

class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : bytes(reinterpret_cast<const char*>(data), size) {}

    std::uint8_t byte() { return static_cast<std::uint8_t>(take(1).front()); }
    bool flag() { return byte() % 2 != 0; }
    /// Below `count`, which is at most 256.
    std::size_t choice(std::size_t count) { return byte() % count; }

    template <class Values>
    const auto& anyOf(const Values& values) {
        return values[choice(std::size(values))];
    }

    /// As many bytes, zeros behind the last one.
    std::string take(std::size_t count) {
        std::string taken(bytes.substr(0, count));
        bytes.remove_prefix(taken.size());
        taken.resize(count);
        return taken;
    }

    std::string_view rest() const { return bytes; }

  private:
    std::string_view bytes;
};

/// Ends the process, which the fuzzer and the tests take for a finding.
inline void require(bool isSo, const char* what) {
    if (!isSo) {
        std::fprintf(stderr, "not so: %s\n", what);
        std::abort();
    }
}

}  // namespace quillon::test
