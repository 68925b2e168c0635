// Graphics types of HIDL common 1.1: those of 1.0 and what it adds.
#pragma once

#include <stdint.h>

#include <android/hardware/graphics/common/1.0/types.h>
#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlTypes.h"

namespace android::hardware::graphics::common::V1_1 {

#define ZELKCAM_HIDL_PIXEL_FORMAT_1_1(ROW) \
    ZELKCAM_HIDL_PIXEL_FORMAT_1_0(ROW)     \
    ROW(DEPTH_16, 0x30)                    \
    ROW(DEPTH_24, 0x31)                    \
    ROW(DEPTH_24_STENCIL_8, 0x32)          \
    ROW(DEPTH_32F, 0x33)                   \
    ROW(DEPTH_32F_STENCIL_8, 0x34)         \
    ROW(STENCIL_8, 0x35)                   \
    ROW(YCBCR_P010, 0x36)
enum class PixelFormat : int32_t { ZELKCAM_HIDL_PIXEL_FORMAT_1_1(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(PixelFormat, ZELKCAM_HIDL_PIXEL_FORMAT_1_1)

#define ZELKCAM_HIDL_BUFFER_USAGE_1_1(ROW) \
    ZELKCAM_HIDL_BUFFER_USAGE_1_0(ROW)     \
    ROW(GPU_CUBE_MAP, 1ULL << 25)          \
    ROW(GPU_MIPMAP_COMPLETE, 1ULL << 26)
enum class BufferUsage : uint64_t { ZELKCAM_HIDL_BUFFER_USAGE_1_1(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(BufferUsage, ZELKCAM_HIDL_BUFFER_USAGE_1_1)

#define ZELKCAM_HIDL_DATASPACE_1_1(ROW)                                    \
    ZELKCAM_HIDL_DATASPACE_1_0(ROW)                                        \
    ROW(BT2020_ITU, STANDARD_BT2020 | TRANSFER_SMPTE_170M | RANGE_LIMITED) \
    ROW(BT2020_ITU_PQ, STANDARD_BT2020 | TRANSFER_ST2084 | RANGE_LIMITED)  \
    ROW(BT2020_ITU_HLG, STANDARD_BT2020 | TRANSFER_HLG | RANGE_LIMITED)    \
    ROW(BT2020_HLG, STANDARD_BT2020 | TRANSFER_HLG | RANGE_FULL)
enum class Dataspace : int32_t { ZELKCAM_HIDL_DATASPACE_1_1(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(Dataspace, ZELKCAM_HIDL_DATASPACE_1_1)

#define ZELKCAM_HIDL_COLOR_MODE_1_1(ROW) \
    ZELKCAM_HIDL_COLOR_MODE_1_0(ROW)     \
    ROW(BT2020, 10)                      \
    ROW(BT2100_PQ, 11)                   \
    ROW(BT2100_HLG, 12)
enum class ColorMode : int32_t { ZELKCAM_HIDL_COLOR_MODE_1_1(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(ColorMode, ZELKCAM_HIDL_COLOR_MODE_1_1)

// How colours outside the display's range are brought into it.
#define ZELKCAM_HIDL_RENDER_INTENT_1_1(ROW) \
    ROW(COLORIMETRIC, 0)                    \
    ROW(ENHANCE, 1)                         \
    ROW(TONE_MAP_COLORIMETRIC, 2)           \
    ROW(TONE_MAP_ENHANCE, 3)
enum class RenderIntent : int32_t { ZELKCAM_HIDL_RENDER_INTENT_1_1(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(RenderIntent, ZELKCAM_HIDL_RENDER_INTENT_1_1)

}  // namespace android::hardware::graphics::common::V1_1
