// Graphics types of HIDL common 1.2: those of 1.1 and what it adds.
#pragma once

#include <stdint.h>

#include <android/hardware/graphics/common/1.1/types.h>
#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlTypes.h"

namespace android::hardware::graphics::common::V1_2 {

#define ZELKCAM_HIDL_PIXEL_FORMAT_1_2(ROW) \
    ZELKCAM_HIDL_PIXEL_FORMAT_1_1(ROW)     \
    ROW(HSV_888, 0x37)
enum class PixelFormat : int32_t { ZELKCAM_HIDL_PIXEL_FORMAT_1_2(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(PixelFormat, ZELKCAM_HIDL_PIXEL_FORMAT_1_2)

#define ZELKCAM_HIDL_BUFFER_USAGE_1_2(ROW) \
    ZELKCAM_HIDL_BUFFER_USAGE_1_1(ROW)     \
    ROW(HW_IMAGE_ENCODER, 1ULL << 27)
enum class BufferUsage : uint64_t { ZELKCAM_HIDL_BUFFER_USAGE_1_2(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(BufferUsage, ZELKCAM_HIDL_BUFFER_USAGE_1_2)

#define ZELKCAM_HIDL_DATASPACE_1_2(ROW)                               \
    ZELKCAM_HIDL_DATASPACE_1_1(ROW)                                   \
    ROW(DISPLAY_BT2020, STANDARD_BT2020 | TRANSFER_SRGB | RANGE_FULL) \
    ROW(DYNAMIC_DEPTH, 0x1002)                                        \
    ROW(JPEG_APP_SEGMENTS, 0x1003)                                    \
    ROW(HEIF, 0x1004)
enum class Dataspace : int32_t { ZELKCAM_HIDL_DATASPACE_1_2(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(Dataspace, ZELKCAM_HIDL_DATASPACE_1_2)

#define ZELKCAM_HIDL_COLOR_MODE_1_2(ROW) \
    ZELKCAM_HIDL_COLOR_MODE_1_1(ROW)     \
    ROW(DISPLAY_BT2020, 13)
enum class ColorMode : int32_t { ZELKCAM_HIDL_COLOR_MODE_1_2(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(ColorMode, ZELKCAM_HIDL_COLOR_MODE_1_2)

#define ZELKCAM_HIDL_HDR_1_2(ROW) \
    ZELKCAM_HIDL_HDR_1_0(ROW)     \
    ROW(HDR10_PLUS, 4)
enum class Hdr : int32_t { ZELKCAM_HIDL_HDR_1_2(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(Hdr, ZELKCAM_HIDL_HDR_1_2)

// Not a record of its own: width, height, layers, format, usage (low and high word), stride and
// reserved words of a hardware buffer.
using HardwareBufferDescription = hidl_array<uint32_t, 10>;

struct HardwareBuffer final {
    HardwareBufferDescription description __attribute__((aligned(4)));
    hidl_handle nativeHandle __attribute__((aligned(8)));
};
ZELKCAM_HIDL_RECORD_TEXT(HardwareBuffer, description, nativeHandle)

// Left, top, right, bottom. Not the mapper's Rect.
using Rect = hidl_array<int32_t, 4>;

}  // namespace android::hardware::graphics::common::V1_2
