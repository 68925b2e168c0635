// A hardware buffer as it crosses a binder.
#pragma once

#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidl/android/hardware/graphics/common/HardwareBufferDescription.h>

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class [[deprecated("pass AHardwareBuffer instead")]] HardwareBuffer {
  public:
    HardwareBufferDescription description;
    // It owns its descriptors.
    ::aidl::android::hardware::common::NativeHandle handle;

    ZELKCAM_AIDL_RECORD(HardwareBuffer, description, handle)
};

}  // namespace aidl::android::hardware::graphics::common
