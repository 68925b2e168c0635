// Types of the HIDL graphics mapper 4.0.
#pragma once

#include <stdint.h>

#include <array>

#include <hidl/HidlSupport.h>

#include "zelkcam/host/hidl_enum.h"

namespace android {
namespace hardware {
namespace graphics {
namespace mapper {
namespace V4_0 {

enum class Error : int32_t {
    NONE = 0,
    BAD_DESCRIPTOR = 1,
    BAD_BUFFER = 2,
    BAD_VALUE = 3,
    NO_RESOURCES = 5,
    UNSUPPORTED = 7,
};

inline constexpr auto kErrorNames = std::array<::zelkcam::host::EnumName<Error>, 6>{{
        {Error::NONE, "NONE"},
        {Error::BAD_DESCRIPTOR, "BAD_DESCRIPTOR"},
        {Error::BAD_BUFFER, "BAD_BUFFER"},
        {Error::BAD_VALUE, "BAD_VALUE"},
        {Error::NO_RESOURCES, "NO_RESOURCES"},
        {Error::UNSUPPORTED, "UNSUPPORTED"},
}};

ZELKCAM_HIDL_ENUM(Error, kErrorNames)

// A buffer description in the mapper's own encoding, for the allocator.
typedef ::android::hardware::hidl_vec<uint8_t> BufferDescriptor;

}  // namespace V4_0
}  // namespace mapper
}  // namespace graphics
}  // namespace hardware
}  // namespace android

ZELKCAM_HIDL_ENUM_VALUES(android::hardware::graphics::mapper::V4_0::Error,
                         android::hardware::graphics::mapper::V4_0::kErrorNames)
