// Which Android pixel format a DRM fourcc stands for.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/mapper.h"

namespace zelkcam::plexa {

using aidl::android::hardware::graphics::common::PixelFormat;

// No value for a fourcc that stands for no Android pixel format or for more than one.
std::optional<PixelFormat> formatOfFourcc(uint32_t fourcc);

}  // namespace zelkcam::plexa
