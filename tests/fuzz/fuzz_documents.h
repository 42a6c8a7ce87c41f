// Documents out of choices. Left to itself a fuzzer hardly ever comes upon one that a reader
// accepts.
#pragma once

#include <string>
#include <string_view>

#include "fuzz/fuzz_input.h"

namespace quillon::test {

struct FuzzDocument {
    std::string_view extension;
    std::string bytes;
    bool isWellFormed = false;  // the fast path must take it
};

/// A drawing of up to three blocks, nearly well-formed, in one of the six formats and one of the
/// ways to write it. Some bytes may be changed. Vectors have their full width, but few different
/// numbers, most of them of one byte.
FuzzDocument chooseDrawing(FuzzInput& input);

/// The same for a query.
FuzzDocument chooseQuery(FuzzInput& input);

}  // namespace quillon::test
