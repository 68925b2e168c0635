// The key and the value of the layout cache.
#pragma once

#include <cstdint>

#include "utils/gralloc/IGrallocInfoProvider.h"

namespace NSCam::gralloc {

// What a cached layout is found by. The usage takes part only for the two formats that the
// allocator resolves; the layout of a concrete format is taken to be independent of it.
struct MyRequest {
    int32_t usage = 0;
    int32_t format = 0;
    int32_t widthInPixels = 0;
    int32_t heightInPixels = 0;

    // The implementation-defined format (0x22) and the flexible YCbCr one (0x23).
    static constexpr bool isResolvedByUsage(int32_t format) { return (format & ~1) == 0x22; }

    static constexpr MyRequest of(const zcam::GrallocRequest& request) {
        const bool byUsage = isResolvedByUsage(request.format);
        return {byUsage ? static_cast<int32_t>(request.usage) : 0, request.format,
                request.widthInPixels, request.heightInPixels};
    }

    constexpr bool operator==(const MyRequest&) const = default;
};

// Ascending by format, usage, width, height; every field is compared signed, so a usage with bit 31
// set comes before usage 0. Compared as one number, whose sign bits are flipped to make the signed
// order an unsigned one: the cache is searched without a branch.
constexpr bool operator<(const MyRequest& left, const MyRequest& right) {
    const auto word = [](int32_t high, int32_t low) {
        return (uint64_t{static_cast<uint32_t>(high)} << 32 | static_cast<uint32_t>(low)) ^
               0x80000000'80000000;
    };
    const auto number = [=](const MyRequest& key) {
        return static_cast<unsigned __int128>(word(key.format, key.usage)) << 64 |
               word(key.widthInPixels, key.heightInPixels);
    };
    return number(left) < number(right);
}
static_assert(MyRequest{.usage = INT32_MIN} < MyRequest{.usage = 0});
static_assert(MyRequest{.format = -1} < MyRequest{.usage = 1, .format = 0});
static_assert(MyRequest{.widthInPixels = 1, .heightInPixels = INT32_MAX} <
              MyRequest{.widthInPixels = 2, .heightInPixels = INT32_MIN});

// A derived layout, and what the dumps show beside it.
struct MyStaticInfo : zcam::GrallocStaticInfo {
    int64_t allocTimeNs = 0;   // what the probe's allocation took; the derivation leaves it alone
    int32_t usage = 0;         // as the buffer reports it
    uint64_t allocSize = 0;    // bytes
    uint32_t bufferFlags = 0;  // as the buffer reports them
};

}  // namespace NSCam::gralloc
