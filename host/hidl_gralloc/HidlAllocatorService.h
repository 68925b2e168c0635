// The host's HIDL allocator 4.0.
#pragma once

#include <android/hardware/graphics/allocator/4.0/IAllocator.h>

namespace zelkcam::host {

// Stateless, so safe from any thread. Every call comes through and calls its callback once; the
// handles belong to the service and end with the callback.
class HidlAllocatorService : public android::hardware::graphics::allocator::V4_0::IAllocator {
  public:
    android::hardware::Return<void> allocate(const android::hardware::hidl_vec<uint8_t>& descriptor,
                                             uint32_t count, allocate_cb callback) override;
};

}  // namespace zelkcam::host
