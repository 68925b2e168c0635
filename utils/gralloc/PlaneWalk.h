// What the two mapper backends read out of decoded plane layouts. Pure functions of their
// arguments.
//
// A mapper is not trusted to describe planes sensibly: every value gives a defined result.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/mapper.h"
#include "platform/utils.h"

namespace NSCam::gralloc {

using aidl::android::hardware::graphics::common::PlaneLayout;

// The address `offset` bytes from `base`; an absurd offset wraps around.
constexpr uintptr_t addressAt(uintptr_t base, int64_t offset) {
    return base + static_cast<uintptr_t>(offset);
}
static_assert(addressAt(0x1000, -0x10) == 0xff0);
static_assert(addressAt(1, INT64_MAX) == uintptr_t{1} << 63);
static_assert(addressAt(UINTPTR_MAX, 1) == 0);

inline void* addressAt(void* base, int64_t offset) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): pointer arithmetic would not be defined for all
    return reinterpret_cast<void*>(addressAt(reinterpret_cast<uintptr_t>(base), offset));
}

// Contract: what planes have in common is reported in 32 bits, cut from the layout's 64.
constexpr int32_t cutTo32(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}
static_assert(cutTo32(0x1'0000'0008) == 8);
static_assert(cutTo32(INT64_MAX) == -1);
static_assert(cutTo32(INT64_MIN) == 0);

// Writes the bytes of a pixel and of a row that all of `planes` agree on: -1 where they do not,
// where the number is negative or where a pixel is no whole number of bytes. Nothing is written for
// an empty list or to a null output.
void tellPixelAndStride(const std::vector<PlaneLayout>& planes, int* outBytesPerPixel,
                        int* outBytesPerStride);

// Builds the YCbCr description of a locked buffer from its planes, one at a time and in order.
class YcbcrWalk {
  public:
    // `base` is the first byte of the buffer.
    explicit YcbcrWalk(void* base) : mBase(base) {}

    // Takes in the components of the next plane. False when an android_ycbcr cannot represent them;
    // the walk is over then.
    [[nodiscard]] bool add(const PlaneLayout& plane);

    // What the planes so far give: planes not met are null, with strides and step 0.
    const android_ycbcr& description() const { return mDescription; }

  private:
    using Component = aidl::android::hardware::graphics::common::PlaneLayoutComponent;

    bool addComponent(const PlaneLayout& plane, const Component& component);
    bool addLuma(const PlaneLayout& plane, const Component& component, void* address);
    bool addChroma(const PlaneLayout& plane, void* address, void** slot);

    void* mBase;
    android_ycbcr mDescription = {};
};

}  // namespace NSCam::gralloc
