// What a hardware buffer is.
#pragma once

#include <aidl/android/hardware/graphics/common/BufferUsage.h>
#include <aidl/android/hardware/graphics/common/PixelFormat.h>

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class HardwareBufferDescription {
  public:
    // Pixels.
    int32_t width = 0;
    int32_t height = 0;
    int32_t layers = 0;
    PixelFormat format = PixelFormat::UNSPECIFIED;
    BufferUsage usage = BufferUsage::CPU_READ_NEVER;
    // Pixels between two rows.
    int32_t stride = 0;

    ZELKCAM_AIDL_RECORD(HardwareBufferDescription, width, height, layers, format, usage, stride)
};

}  // namespace aidl::android::hardware::graphics::common
