// Storage that keeps its values while it grows and shrinks.
#include "shared/growable_floats.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <numeric>
#include <utility>

namespace quillon {
namespace {

GrowableFloats counted(std::size_t size) {
    GrowableFloats floats(size);
    std::iota(floats.begin(), floats.end(), 1.0F);
    return floats;
}

void expectCounted(const GrowableFloats& floats, std::size_t size) {
    ASSERT_EQ(floats.size(), size);
    EXPECT_EQ(floats.empty(), size == 0);
    EXPECT_EQ(floats.end() - floats.begin(), static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(floats.cend() - floats.cbegin(), static_cast<std::ptrdiff_t>(size));
    for (std::size_t i = 0; i < size; ++i) {
        EXPECT_EQ(floats[i], static_cast<float>(i + 1));
        EXPECT_EQ(floats.data()[i], static_cast<float>(i + 1));
    }
}

TEST(GrowableFloats, AreEmptyUnlessTold) {
    expectCounted(GrowableFloats(), 0);
    expectCounted(GrowableFloats(0), 0);
}

TEST(GrowableFloats, AreFilledWithAValueWhenAsked) {
    const GrowableFloats floats(3, 2.5F);
    ASSERT_EQ(floats.size(), 3U);
    EXPECT_EQ(floats[0], 2.5F);
    EXPECT_EQ(floats[2], 2.5F);
}

TEST(GrowableFloats, KeepTheirValuesWhenResized) {
    GrowableFloats floats = counted(5);
    floats.resize(1000);
    EXPECT_EQ(floats.size(), 1000U);
    floats.resize(5);
    expectCounted(floats, 5);
    floats.resize(5);
    expectCounted(floats, 5);
    floats.resize(2);
    expectCounted(floats, 2);
    floats.resize(0);
    expectCounted(floats, 0);
    EXPECT_EQ(floats.data(), nullptr);
}

TEST(GrowableFloats, CopiesAreTheirOwn) {
    GrowableFloats original = counted(4);
    GrowableFloats copy(original);
    GrowableFloats assigned;
    assigned = original;
    original[0] = 100.0F;
    expectCounted(copy, 4);
    expectCounted(assigned, 4);
}

TEST(GrowableFloats, MovingHandsTheMemoryOver) {
    GrowableFloats original = counted(4);
    const float* const memory = original.data();
    GrowableFloats moved(std::move(original));
    expectCounted(moved, 4);
    EXPECT_EQ(moved.data(), memory);
    GrowableFloats assigned = counted(2);
    assigned = std::move(moved);
    expectCounted(assigned, 4);
    EXPECT_EQ(assigned.data(), memory);
}

// The second size would wrap around to a few bytes.
TEST(GrowableFloats, ChangeNothingWhenThereCannotBeSoMany) {
    GrowableFloats floats = counted(3);
    for (const std::size_t tooMany : {PTRDIFF_MAX / sizeof(float) + 1, SIZE_MAX / 4 + 2}) {
        EXPECT_THROW(floats.resize(tooMany), std::bad_alloc);
        expectCounted(floats, 3);
    }
}

}  // namespace
}  // namespace quillon
