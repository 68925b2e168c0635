// What an allocation gave.
#pragma once

#include <aidl/android/hardware/common/NativeHandle.h>

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::allocator {

class AllocationResult {
  public:
    // Pixels between two rows; without meaning where the format has no rows.
    int32_t stride = 0;
    // Raw handles, to be imported; they own their descriptors.
    std::vector<::aidl::android::hardware::common::NativeHandle> buffers;

    ZELKCAM_AIDL_RECORD(AllocationResult, stride, buffers)
};

}  // namespace aidl::android::hardware::graphics::allocator
