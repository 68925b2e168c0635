// Pixel formats as the host's allocator lays them out. The table in Formats.cpp is the one place
// that knows planes, components, alignments and codes; everybody else asks here.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include <aidl/android/hardware/graphics/common/PlaneLayoutComponentType.h>

namespace zelkcam::host::gralloc {

using aidl::android::hardware::graphics::common::PlaneLayoutComponentType;

// Concrete formats that camera devices use beyond the published enumeration.
inline constexpr int32_t kFormatCameraOpaque =
        0x111;                                  // 10-bit raw, packed four pixels in five bytes
inline constexpr int32_t kFormatNv12 = 0x1000;  // Y, then interleaved CbCr

struct Component {
    PlaneLayoutComponentType type;
    int offsetInBits;
    int sizeInBits;  // -1: cannot be stated
};

struct PlaneRule {
    int sampleIncrementInBits;  // 0: cannot be stated
    // Both are 1 or 2. A plane with vertical subsampling takes half of row times height, halved
    // after the product, so that an odd height leaves half a row behind and not none.
    int horizontalSubsampling;
    int verticalSubsampling;
    // The plane's row is the first plane's row divided by this; a divided row is aligned to 16
    // bytes.
    int rowDivisor;
    int componentCount;
    std::array<Component, 4> components;
};

enum class StrideUnit : uint8_t { Pixels, Bytes };

struct FormatRule {
    int32_t format;
    uint32_t fourcc;
    StrideUnit strideUnit;
    int alignment;  // of the stride, in its unit
    // `groupBytes` bytes hold `groupPixels` pixels of the first plane.
    int groupPixels;
    int groupBytes;
    int planeCount;
    std::array<PlaneRule, 3> planes;
};

struct PlanePlacement {
    int64_t offsetInBytes;
    int64_t strideInBytes;
    int64_t totalSizeInBytes;
    int64_t widthInSamples;
    int64_t heightInSamples;
};

struct Layout {
    const FormatRule* rule;
    uint32_t stride;          // in the rule's unit, what STRIDE metadata and the allocator answer
    uint64_t allocationSize;  // bytes up to the end of the last plane, not rounded to pages
    std::array<PlanePlacement, 3> placements;

    std::span<const PlanePlacement> planes() const {
        return {placements.data(), static_cast<size_t>(rule->planeCount)};
    }
};

// The format that a request really gets. IMPLEMENTATION_DEFINED and YCBCR_420_888 are decided by
// the 64 bits of usage, every other code stands for itself.
int32_t resolveFormat(int32_t requested, uint64_t usage);

// The rule of a concrete format, or null where the host has none. Never finds the two codes that
// resolveFormat decides.
const FormatRule* findFormat(int32_t concrete);

// Where the planes of a buffer lie. No value for an unknown format, for a dimension that is zero,
// and for a buffer beyond kMaxAllocationSize.
std::optional<Layout> layOut(int32_t concrete, uint32_t width, uint32_t height);

// Clients read the allocation size as a signed 32-bit number, so a larger buffer could not be
// described.
inline constexpr uint64_t kMaxAllocationSize = INT32_MAX;

std::span<const FormatRule> allFormats();

}  // namespace zelkcam::host::gralloc
