// Pixel formats. Device makers use further codes by cast.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_PIXEL_FORMAT(ROW) \
    ROW(UNSPECIFIED, 0)                \
    ROW(RGBA_8888, 0x1)                \
    ROW(RGBX_8888, 0x2)                \
    ROW(RGB_888, 0x3)                  \
    ROW(RGB_565, 0x4)                  \
    ROW(BGRA_8888, 0x5)                \
    ROW(YCBCR_422_SP, 0x10)            \
    ROW(YCRCB_420_SP, 0x11)            \
    ROW(YCBCR_422_I, 0x14)             \
    ROW(RGBA_FP16, 0x16)               \
    ROW(RAW16, 0x20)                   \
    ROW(BLOB, 0x21)                    \
    ROW(IMPLEMENTATION_DEFINED, 0x22)  \
    ROW(YCBCR_420_888, 0x23)           \
    ROW(RAW_OPAQUE, 0x24)              \
    ROW(RAW10, 0x25)                   \
    ROW(RAW12, 0x26)                   \
    ROW(RGBA_1010102, 0x2B)            \
    ROW(Y8, 0x20203859)                \
    ROW(Y16, 0x20363159)               \
    ROW(YV12, 0x32315659)              \
    ROW(DEPTH_16, 0x30)                \
    ROW(DEPTH_24, 0x31)                \
    ROW(DEPTH_24_STENCIL_8, 0x32)      \
    ROW(DEPTH_32F, 0x33)               \
    ROW(DEPTH_32F_STENCIL_8, 0x34)     \
    ROW(STENCIL_8, 0x35)               \
    ROW(YCBCR_P010, 0x36)              \
    ROW(HSV_888, 0x37)                 \
    ROW(R_8, 0x38)                     \
    ROW(R_16_UINT, 0x39)               \
    ROW(RG_1616_UINT, 0x3A)            \
    ROW(RGBA_10101010, 0x3B)

enum class PixelFormat : int32_t { ZELKCAM_AIDL_PIXEL_FORMAT(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(PixelFormat, ZELKCAM_AIDL_PIXEL_FORMAT)
#undef ZELKCAM_AIDL_PIXEL_FORMAT

}  // namespace aidl::android::hardware::graphics::common
