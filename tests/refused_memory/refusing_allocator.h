// The memory of this test program: it is there until a test has it refused.
#pragma once

#include <cstddef>

namespace quillon::test {

enum class Refusal {
    once,     // one request, those behind it succeed again
    onwards,  // it and all that follow
};

/// Refuses request number `first`, counted from here on over all threads, 0 being the next one.
void refuseMemory(std::size_t first, Refusal refusal);

/// Grants every request again. Returns whether one has been refused.
bool grantMemory();

}  // namespace quillon::test
