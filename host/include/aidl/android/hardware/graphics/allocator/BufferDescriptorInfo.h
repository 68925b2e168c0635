// What buffer is wanted.
#pragma once

#include <aidl/android/hardware/graphics/common/BufferUsage.h>
#include <aidl/android/hardware/graphics/common/ExtendableType.h>
#include <aidl/android/hardware/graphics/common/PixelFormat.h>

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::allocator {

class BufferDescriptorInfo {
  public:
    // ASCII, terminated by a zero.
    std::array<uint8_t, 128> name = {{}};
    // Pixels, not zero.
    int32_t width = 0;
    int32_t height = 0;
    int32_t layerCount = 0;
    ::aidl::android::hardware::graphics::common::PixelFormat format =
            ::aidl::android::hardware::graphics::common::PixelFormat::UNSPECIFIED;
    ::aidl::android::hardware::graphics::common::BufferUsage usage =
            ::aidl::android::hardware::graphics::common::BufferUsage::CPU_READ_NEVER;
    // Bytes for the clients themselves, beside the pixels.
    int64_t reservedSize = 0L;
    std::vector<::aidl::android::hardware::graphics::common::ExtendableType> additionalOptions;

    ZELKCAM_AIDL_RECORD(BufferDescriptorInfo, name, width, height, layerCount, format, usage,
                        reservedSize, additionalOptions)
};

}  // namespace aidl::android::hardware::graphics::allocator
