// What HIDL clients describe a buffer by.
#pragma once

#include <optional>

#include <android/hardware/graphics/mapper/4.0/IMapper.h>

#include "host/gralloc/Description.h"

namespace zelkcam::host {

gralloc::Description describe(
        const android::hardware::graphics::mapper::V4_0::IMapper::BufferDescriptorInfo& info);

// Takes the bytes that createDescriptor gave; no value for any others.
std::optional<gralloc::Description> decodeDescriptor(
        const android::hardware::hidl_vec<uint8_t>& descriptor);

}  // namespace zelkcam::host
