// How a buffer is laid out: the answer of the device (Device.h) to a request, and all that the
// metadata of the buffer tells of it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>

#include <aidl/android/hardware/graphics/common/ChromaSiting.h>
#include <aidl/android/hardware/graphics/common/Compression.h>
#include <aidl/android/hardware/graphics/common/Interlaced.h>
#include <aidl/android/hardware/graphics/common/PlaneLayoutComponentType.h>

#include "profile/Profile.h"

namespace zelkcam::host::gralloc {

using aidl::android::hardware::graphics::common::ChromaSiting;
using aidl::android::hardware::graphics::common::Compression;
using aidl::android::hardware::graphics::common::Interlaced;
using aidl::android::hardware::graphics::common::PlaneLayoutComponentType;

// A list of at most N elements that needs no memory of its own. The caller keeps to the bound.
template <typename T, size_t N>
class ShortList {
  public:
    constexpr ShortList() = default;
    constexpr ShortList(std::initializer_list<T> items) {
        for (const T& item : items) {
            add(item);
        }
    }

    constexpr void add(const T& item) { mItems[mSize++] = item; }
    constexpr size_t size() const { return mSize; }
    constexpr const T* begin() const { return mItems.data(); }
    constexpr const T* end() const { return mItems.data() + mSize; }

  private:
    std::array<T, N> mItems{};
    size_t mSize = 0;
};

struct Component {
    PlaneLayoutComponentType type;
    int offsetInBits;
    int sizeInBits;  // -1: cannot be stated
};

using Components = ShortList<Component, profile::kMaxPlaneComponents>;

struct Plane {
    int64_t offsetInBytes;
    int64_t strideInBytes;
    int64_t totalSizeInBytes;
    int64_t widthInSamples;
    int64_t heightInSamples;
    int sampleIncrementInBits;  // 0: cannot be stated
    int horizontalSubsampling;
    int verticalSubsampling;
    Components components;
};

struct Layout {
    int32_t format = 0;  // the concrete one that the requested one became
    uint32_t fourcc = 0;
    uint64_t modifier = 0;  // DRM's; 0 is linear
    uint32_t flags = 0;     // of the buffer-attribute extension
    // The extension's, where they are not what the mapper tells.
    std::array<std::optional<uint32_t>, profile::kOwnCount> own;
    uint32_t stride = 0;          // what STRIDE metadata answers
    uint32_t answeredStride = 0;  // what the allocator answers
    uint64_t allocationSize = 0;  // what ALLOCATION_SIZE answers
    uint64_t pixelBytes = 0;      // that planes and size need, not rounded to pages
    Compression compression = Compression::NONE;
    Interlaced interlaced = Interlaced::NONE;
    ChromaSiting chromaSiting = ChromaSiting::NONE;
    uint64_t usageAdded = 0;  // what USAGE tells beyond the request, and what it leaves out
    uint64_t usageRemoved = 0;
    bool cropIsPicture = false;  // CROP tells the picture's size for every plane
    bool isGuess = false;        // the device profile does not tell; also of a refusal
    std::span<const profile::Refused> refused;  // metadata that cannot be read
    profile::LockAnswer locks;
    ShortList<Plane, profile::kMaxPlanes> planes;
};

}  // namespace zelkcam::host::gralloc
