// Storage for float arrays that grow to gigabytes while they are loaded.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include "shared/large_pages.h"

namespace quillon {

/// Owns its floats. Like a std::vector<float> with two differences: resizing keeps the values but
/// leaves new ones uninitialised, and it goes through realloc, which for large blocks moves pages
/// instead of copying floats where the platform can: there an array is never held twice while it
/// grows, and capacity that has not been written to takes no memory. Serves as storage of the array
/// library's containers.
class GrowableFloats : public std::span<float> {
  public:
    using const_iterator = iterator;
    using const_reverse_iterator = reverse_iterator;
    using allocator_type = std::allocator<float>;
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }

    GrowableFloats() = default;
    explicit GrowableFloats(std::size_t count) { resize(count); }
    GrowableFloats(std::size_t count, float value) : GrowableFloats(count) {
        std::fill(begin(), end(), value);
    }
    GrowableFloats(const GrowableFloats& other) : GrowableFloats(other.size()) {
        std::copy(other.begin(), other.end(), begin());
    }
    GrowableFloats(GrowableFloats&& other) noexcept { std::swap(floats(), other.floats()); }
    GrowableFloats& operator=(GrowableFloats other) noexcept {
        std::swap(floats(), other.floats());
        return *this;
    }
    ~GrowableFloats() { std::free(data()); }

    /// Throws std::bad_alloc and then changes nothing.
    void resize(std::size_t count) {
        if (count == 0) {
            std::free(data());
            floats() = {};
        } else if (count != size()) {
            void* const moved =
                count <= maxCount ? std::realloc(data(), count * sizeof(float)) : nullptr;
            if (moved == nullptr) {
                throw std::bad_alloc();
            }
            preferLargePages(moved, count * sizeof(float));
            floats() = {static_cast<float*>(moved), count};
        }
    }

  private:
    static constexpr std::size_t maxCount = PTRDIFF_MAX / sizeof(float);

    std::span<float>& floats() { return *this; }
};

}  // namespace quillon
