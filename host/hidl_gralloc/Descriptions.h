// The bytes by which HIDL clients describe a buffer.
#pragma once

#include <optional>

#include <android/hardware/graphics/mapper/4.0/IMapper.h>

#include "host/gralloc/Description.h"

namespace zelkcam::host {

// Takes the bytes that createDescriptor gave; no value for any others.
std::optional<gralloc::Description> decodeDescriptor(
        const android::hardware::hidl_vec<uint8_t>& descriptor);

}  // namespace zelkcam::host
