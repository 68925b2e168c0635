// Types of the HIDL graphics mapper 4.0.
#pragma once

#include <stdint.h>

#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlTypes.h"

namespace android::hardware::graphics::mapper::V4_0 {

#define ZELKCAM_HIDL_ERROR(ROW) \
    ROW(NONE, 0)                \
    ROW(BAD_DESCRIPTOR, 1)      \
    ROW(BAD_BUFFER, 2)          \
    ROW(BAD_VALUE, 3)           \
    ROW(NO_RESOURCES, 5)        \
    ROW(UNSUPPORTED, 7)

enum class Error : int32_t { ZELKCAM_HIDL_ERROR(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(Error, ZELKCAM_HIDL_ERROR)

// A buffer description in the mapper's own encoding, for the allocator.
typedef ::android::hardware::hidl_vec<uint8_t> BufferDescriptor;

}  // namespace android::hardware::graphics::mapper::V4_0
