#include "search/neighbours/product_resources.h"

#include <cstddef>
#include <exception>
#include <latch>
#include <new>
#include <thread>
#include <vector>

// As omp.h has them, which comes with the compiler and not with the library that BLAS runs on.
extern "C" int omp_get_max_threads();
extern "C" void omp_set_num_threads(int count);

namespace quillon {
namespace {

/// 128 MiB for the largest product that OpenBLAS makes at once, and some for what goes with it.
constexpr std::size_t workSpaceBytes = std::size_t{136} << 20U;

/// All at a time, as in a product.
bool canStartThreads(int count) {
    std::latch started(1);
    std::vector<std::jthread> threads;
    try {
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([&started] { started.wait(); });
        }
    } catch (const std::exception&) {
        started.count_down();
        return false;
    }
    started.count_down();
    return true;
}

}  // namespace

void secureProducts() {
    void* workSpace = ::operator new(workSpaceBytes);
    if (!canStartThreads(omp_get_max_threads() - 1)) {
        omp_set_num_threads(1);
    }
    ::operator delete(workSpace);
}

}  // namespace quillon
