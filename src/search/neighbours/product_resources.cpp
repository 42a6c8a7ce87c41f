#include "search/neighbours/product_resources.h"

#include <faiss/VectorTransform.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <latch>
#include <new>
#include <thread>
#include <vector>

// As omp.h has them, which comes with the compiler and not with the library that BLAS runs on.
extern "C" int omp_get_max_active_levels();
extern "C" int omp_get_max_threads();
extern "C" int omp_get_thread_limit();
extern "C" void omp_set_dynamic(int isDynamic);
extern "C" void omp_set_num_threads(int count);

namespace quillon {
namespace {

/// 128 MiB for the largest product that OpenBLAS makes at once, and some for what goes with it.
constexpr std::size_t workSpaceBytes = std::size_t{136} << 20U;

/// Products of fewer rows are made sooner than threads are started.
constexpr std::size_t leastRowsForThreads = 400;

/// As many as OpenMP gives every time it is asked: its limits come from the environment, and it
/// starts fewer threads than a product asks for without a word.
int threadsGranted() {
    return omp_get_max_active_levels() > 0 ? std::min(omp_get_max_threads(), omp_get_thread_limit())
                                           : 1;
}

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

/// Large enough for all threads: work space and threads stay with BLAS from here on, whatever is
/// taken later.
void makeFirstProduct() {
    constexpr std::size_t size = 128;
    faiss::LinearTransform product(size, size);
    product.is_trained = true;
    product.A.resize(size * size);
    const std::vector<float> vectors(size * size);
    std::vector<float> products(size * size);
    product.apply_noalloc(size, vectors.data(), products.data());
}

}  // namespace

void secureProducts(std::size_t rows) {
    void* workSpace = ::operator new(workSpaceBytes);
    // A product waits for ever for a thread that does not come.
    omp_set_dynamic(0);
    static const int granted = threadsGranted();  // ahead of what is set here
    const int threadCount = rows < leastRowsForThreads ? 1 : granted;
    omp_set_num_threads(canStartThreads(threadCount - 1) ? threadCount : 1);
    ::operator delete(workSpace);
    makeFirstProduct();
}

}  // namespace quillon
