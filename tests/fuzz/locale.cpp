// What the process entry does ahead of everything, for the fuzzer's own.
#include <clocale>

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*values*/) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    return 0;
}
