// The 32-bit arithmetic of the layout rules. Sizes that the rules compute in 32 bits wrap; the
// wraps and sign shifts are computed unsigned here, so that they are defined for every input.
#pragma once

#include <cstdint>
#include <limits>

namespace NSCam::gralloc {

constexpr int32_t wrappingAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

constexpr int32_t wrappingMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

constexpr int32_t negated(int32_t a) {
    return wrappingMul(a, -1);
}

// a / 2, rounded towards minus infinity.
constexpr int32_t halved(int32_t a) {
    return a >> 1;
}

// a × b in 64 bits, which always hold it.
constexpr int64_t product64(int32_t a, int32_t b) {
    return int64_t{a} * int64_t{b};
}

// A size or stride as the unsigned 64-bit field holds it: negative values keep their sign bits.
constexpr uint64_t signExtended(int64_t a) {
    return static_cast<uint64_t>(a);
}

// a rounded up to a multiple of 32, for a from 1 on.
constexpr int32_t aligned32(int32_t a) {
    return wrappingAdd(wrappingAdd(a, -1) & ~31, 32);
}

// One and a half times a w × h frame whose sides are rounded up to multiples of 32.
constexpr int32_t alignedFrameAndAHalf(int32_t w, int32_t h) {
    return halved(wrappingMul(wrappingMul(3, aligned32(w)), aligned32(h)));
}

// The row of a 10-bit packed plane: 5 bytes for every 4 pixels.
constexpr uint64_t packed10Bits(uint64_t pixels) {
    return (pixels * 5) >> 2;
}

constexpr uint64_t aligned64(uint64_t pixels) {
    return (pixels + 63) & ~uint64_t{63};
}

namespace wrapping_math_checks {

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

static_assert(wrappingAdd(kMax, 1) == kMin && wrappingAdd(kMin, -1) == kMax);
static_assert(wrappingMul(kMax, 2) == -2 && wrappingMul(kMin, 2) == 0 &&
              wrappingMul(kMin, -1) == kMin);
static_assert(halved(kMin) == -0x40000000 && halved(-1) == -1 && halved(3) == 1);
static_assert(product64(kMin, kMin) == int64_t{1} << 62);
static_assert(signExtended(-2) == 0xFFFFFFFFFFFFFFFE);
static_assert(aligned32(1) == 32 && aligned32(1080) == 1088 && aligned32(kMin) == kMin);
static_assert(alignedFrameAndAHalf(1920, 1080) == 3'133'440);
static_assert(packed10Bits(4000) == 5000 && packed10Bits(aligned64(4000)) == 5040);

}  // namespace wrapping_math_checks

}  // namespace NSCam::gralloc
