// Storage for float arrays that grow to gigabytes while they are loaded.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "shared/large_pages.h"

namespace quillon {

/// Like a std::vector<float> with two differences: resizing keeps the values but leaves new ones
/// uninitialised, and it goes through realloc, which for large blocks moves pages instead of
/// copying floats where the platform can: there an array is never held twice while it grows, and
/// capacity that has not been written to takes no memory. Serves as storage of the array library's
/// containers.
class GrowableFloats {
  public:
    using value_type = float;
    using reference = float&;
    using const_reference = const float&;
    using pointer = float*;
    using const_pointer = const float*;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using iterator = float*;
    using const_iterator = const float*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    using allocator_type = std::allocator<float>;

    GrowableFloats() = default;
    explicit GrowableFloats(size_type size) { resize(size); }
    GrowableFloats(size_type size, float value) : GrowableFloats(size) {
        std::fill(begin(), end(), value);
    }
    GrowableFloats(const GrowableFloats& other) : GrowableFloats(other.count) {
        std::copy(other.begin(), other.end(), begin());
    }
    GrowableFloats(GrowableFloats&& other) noexcept { swap(other); }
    GrowableFloats& operator=(GrowableFloats other) noexcept {
        swap(other);
        return *this;
    }
    ~GrowableFloats() { std::free(values); }

    /// Throws std::bad_alloc and then changes nothing.
    void resize(size_type size) {
        if (size == 0) {
            std::free(std::exchange(values, nullptr));
        } else if (size != count) {
            void* moved = size <= maxSize ? std::realloc(values, size * sizeof(float)) : nullptr;
            if (moved == nullptr) {
                throw std::bad_alloc();
            }
            values = static_cast<float*>(moved);
            preferLargePages(values, size * sizeof(float));
        }
        count = size;
    }

    size_type size() const { return count; }
    bool empty() const { return count == 0; }
    pointer data() { return values; }
    const_pointer data() const { return values; }
    iterator begin() { return values; }
    iterator end() { return values + count; }
    const_iterator begin() const { return values; }
    const_iterator end() const { return values + count; }
    const_iterator cbegin() const { return values; }
    const_iterator cend() const { return values + count; }
    reference operator[](size_type i) { return values[i]; }
    const_reference operator[](size_type i) const { return values[i]; }

  private:
    static constexpr size_type maxSize = PTRDIFF_MAX / sizeof(float);

    void swap(GrowableFloats& other) noexcept {
        std::swap(values, other.values);
        std::swap(count, other.count);
    }

    float* values = nullptr;
    size_type count = 0;
};

}  // namespace quillon
