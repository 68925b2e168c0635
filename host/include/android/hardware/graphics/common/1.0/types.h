// Graphics types of HIDL common 1.0.
#pragma once

#include <stdint.h>

#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlTypes.h"

namespace android::hardware::graphics::common::V1_0 {

// Concrete and flexible pixel formats.
#define ZELKCAM_HIDL_PIXEL_FORMAT_1_0(ROW) \
    ROW(RGBA_8888, 0x1)                    \
    ROW(RGBX_8888, 0x2)                    \
    ROW(RGB_888, 0x3)                      \
    ROW(RGB_565, 0x4)                      \
    ROW(BGRA_8888, 0x5)                    \
    ROW(YCBCR_422_SP, 0x10)                \
    ROW(YCRCB_420_SP, 0x11)                \
    ROW(YCBCR_422_I, 0x14)                 \
    ROW(RGBA_FP16, 0x16)                   \
    ROW(RAW16, 0x20)                       \
    ROW(BLOB, 0x21)                        \
    ROW(IMPLEMENTATION_DEFINED, 0x22)      \
    ROW(YCBCR_420_888, 0x23)               \
    ROW(RAW_OPAQUE, 0x24)                  \
    ROW(RAW10, 0x25)                       \
    ROW(RAW12, 0x26)                       \
    ROW(RGBA_1010102, 0x2B)                \
    ROW(Y8, 0x20203859)                    \
    ROW(Y16, 0x20363159)                   \
    ROW(YV12, 0x32315659)
enum class PixelFormat : int32_t { ZELKCAM_HIDL_PIXEL_FORMAT_1_0(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(PixelFormat, ZELKCAM_HIDL_PIXEL_FORMAT_1_0)

// What a buffer is used for: CPU levels in two fields, one bit for each device.
#define ZELKCAM_HIDL_BUFFER_USAGE_1_0(ROW)  \
    ROW(CPU_READ_MASK, 0xF)                 \
    ROW(CPU_READ_NEVER, 0)                  \
    ROW(CPU_READ_RARELY, 2)                 \
    ROW(CPU_READ_OFTEN, 3)                  \
    ROW(CPU_WRITE_MASK, 0xF0)               \
    ROW(CPU_WRITE_NEVER, 0)                 \
    ROW(CPU_WRITE_RARELY, 0x20)             \
    ROW(CPU_WRITE_OFTEN, 0x30)              \
    ROW(GPU_TEXTURE, 1ULL << 8)             \
    ROW(GPU_RENDER_TARGET, 1ULL << 9)       \
    ROW(COMPOSER_OVERLAY, 1ULL << 11)       \
    ROW(COMPOSER_CLIENT_TARGET, 1ULL << 12) \
    ROW(PROTECTED, 1ULL << 14)              \
    ROW(COMPOSER_CURSOR, 1ULL << 15)        \
    ROW(VIDEO_ENCODER, 1ULL << 16)          \
    ROW(CAMERA_OUTPUT, 1ULL << 17)          \
    ROW(CAMERA_INPUT, 1ULL << 18)           \
    ROW(RENDERSCRIPT, 1ULL << 20)           \
    ROW(VIDEO_DECODER, 1ULL << 22)          \
    ROW(SENSOR_DIRECT_DATA, 1ULL << 23)     \
    ROW(GPU_DATA_BUFFER, 1ULL << 24)        \
    ROW(VENDOR_MASK, 0xFULL << 28)          \
    ROW(VENDOR_MASK_HI, 0xFFFFULL << 48)
enum class BufferUsage : uint64_t { ZELKCAM_HIDL_BUFFER_USAGE_1_0(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(BufferUsage, ZELKCAM_HIDL_BUFFER_USAGE_1_0)

// How pixel values are to be read: a standard, a transfer and a range field, or a single legacy
// code below 0x10000.
#define ZELKCAM_HIDL_DATASPACE_1_0(ROW)                                         \
    ROW(UNKNOWN, 0)                                                             \
    ROW(ARBITRARY, 1)                                                           \
    ROW(STANDARD_SHIFT, 16)                                                     \
    ROW(STANDARD_MASK, 63 << STANDARD_SHIFT)                                    \
    ROW(STANDARD_UNSPECIFIED, 0 << STANDARD_SHIFT)                              \
    ROW(STANDARD_BT709, 1 << STANDARD_SHIFT)                                    \
    ROW(STANDARD_BT601_625, 2 << STANDARD_SHIFT)                                \
    ROW(STANDARD_BT601_625_UNADJUSTED, 3 << STANDARD_SHIFT)                     \
    ROW(STANDARD_BT601_525, 4 << STANDARD_SHIFT)                                \
    ROW(STANDARD_BT601_525_UNADJUSTED, 5 << STANDARD_SHIFT)                     \
    ROW(STANDARD_BT2020, 6 << STANDARD_SHIFT)                                   \
    ROW(STANDARD_BT2020_CONSTANT_LUMINANCE, 7 << STANDARD_SHIFT)                \
    ROW(STANDARD_BT470M, 8 << STANDARD_SHIFT)                                   \
    ROW(STANDARD_FILM, 9 << STANDARD_SHIFT)                                     \
    ROW(STANDARD_DCI_P3, 10 << STANDARD_SHIFT)                                  \
    ROW(STANDARD_ADOBE_RGB, 11 << STANDARD_SHIFT)                               \
    ROW(TRANSFER_SHIFT, 22)                                                     \
    ROW(TRANSFER_MASK, 31 << TRANSFER_SHIFT)                                    \
    ROW(TRANSFER_UNSPECIFIED, 0 << TRANSFER_SHIFT)                              \
    ROW(TRANSFER_LINEAR, 1 << TRANSFER_SHIFT)                                   \
    ROW(TRANSFER_SRGB, 2 << TRANSFER_SHIFT)                                     \
    ROW(TRANSFER_SMPTE_170M, 3 << TRANSFER_SHIFT)                               \
    ROW(TRANSFER_GAMMA2_2, 4 << TRANSFER_SHIFT)                                 \
    ROW(TRANSFER_GAMMA2_6, 5 << TRANSFER_SHIFT)                                 \
    ROW(TRANSFER_GAMMA2_8, 6 << TRANSFER_SHIFT)                                 \
    ROW(TRANSFER_ST2084, 7 << TRANSFER_SHIFT)                                   \
    ROW(TRANSFER_HLG, 8 << TRANSFER_SHIFT)                                      \
    ROW(RANGE_SHIFT, 27)                                                        \
    ROW(RANGE_MASK, 7 << RANGE_SHIFT)                                           \
    ROW(RANGE_UNSPECIFIED, 0 << RANGE_SHIFT)                                    \
    ROW(RANGE_FULL, 1 << RANGE_SHIFT)                                           \
    ROW(RANGE_LIMITED, 2 << RANGE_SHIFT)                                        \
    ROW(RANGE_EXTENDED, 3 << RANGE_SHIFT)                                       \
    ROW(SRGB_LINEAR, 0x200)                                                     \
    ROW(V0_SRGB_LINEAR, STANDARD_BT709 | TRANSFER_LINEAR | RANGE_FULL)          \
    ROW(V0_SCRGB_LINEAR, STANDARD_BT709 | TRANSFER_LINEAR | RANGE_EXTENDED)     \
    ROW(SRGB, 0x201)                                                            \
    ROW(V0_SRGB, STANDARD_BT709 | TRANSFER_SRGB | RANGE_FULL)                   \
    ROW(V0_SCRGB, STANDARD_BT709 | TRANSFER_SRGB | RANGE_EXTENDED)              \
    ROW(JFIF, 0x101)                                                            \
    ROW(V0_JFIF, STANDARD_BT601_625 | TRANSFER_SMPTE_170M | RANGE_FULL)         \
    ROW(BT601_625, 0x102)                                                       \
    ROW(V0_BT601_625, STANDARD_BT601_625 | TRANSFER_SMPTE_170M | RANGE_LIMITED) \
    ROW(BT601_525, 0x103)                                                       \
    ROW(V0_BT601_525, STANDARD_BT601_525 | TRANSFER_SMPTE_170M | RANGE_LIMITED) \
    ROW(BT709, 0x104)                                                           \
    ROW(V0_BT709, STANDARD_BT709 | TRANSFER_SMPTE_170M | RANGE_LIMITED)         \
    ROW(DCI_P3_LINEAR, STANDARD_DCI_P3 | TRANSFER_LINEAR | RANGE_FULL)          \
    ROW(DCI_P3, STANDARD_DCI_P3 | TRANSFER_GAMMA2_6 | RANGE_FULL)               \
    ROW(DISPLAY_P3_LINEAR, STANDARD_DCI_P3 | TRANSFER_LINEAR | RANGE_FULL)      \
    ROW(DISPLAY_P3, STANDARD_DCI_P3 | TRANSFER_SRGB | RANGE_FULL)               \
    ROW(ADOBE_RGB, STANDARD_ADOBE_RGB | TRANSFER_GAMMA2_2 | RANGE_FULL)         \
    ROW(BT2020_LINEAR, STANDARD_BT2020 | TRANSFER_LINEAR | RANGE_FULL)          \
    ROW(BT2020, STANDARD_BT2020 | TRANSFER_SMPTE_170M | RANGE_FULL)             \
    ROW(BT2020_PQ, STANDARD_BT2020 | TRANSFER_ST2084 | RANGE_FULL)              \
    ROW(DEPTH, 0x1000)                                                          \
    ROW(SENSOR, 0x1001)
enum class Dataspace : int32_t { ZELKCAM_HIDL_DATASPACE_1_0(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(Dataspace, ZELKCAM_HIDL_DATASPACE_1_0)

// The colours of a display.
#define ZELKCAM_HIDL_COLOR_MODE_1_0(ROW)  \
    ROW(NATIVE, 0)                        \
    ROW(STANDARD_BT601_625, 1)            \
    ROW(STANDARD_BT601_625_UNADJUSTED, 2) \
    ROW(STANDARD_BT601_525, 3)            \
    ROW(STANDARD_BT601_525_UNADJUSTED, 4) \
    ROW(STANDARD_BT709, 5)                \
    ROW(DCI_P3, 6)                        \
    ROW(SRGB, 7)                          \
    ROW(ADOBE_RGB, 8)                     \
    ROW(DISPLAY_P3, 9)
enum class ColorMode : int32_t { ZELKCAM_HIDL_COLOR_MODE_1_0(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(ColorMode, ZELKCAM_HIDL_COLOR_MODE_1_0)

// Kinds of high dynamic range.
#define ZELKCAM_HIDL_HDR_1_0(ROW) \
    ROW(DOLBY_VISION, 1)          \
    ROW(HDR10, 2)                 \
    ROW(HLG, 3)
enum class Hdr : int32_t { ZELKCAM_HIDL_HDR_1_0(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(Hdr, ZELKCAM_HIDL_HDR_1_0)

// Flips and rotations, the flips first.
#define ZELKCAM_HIDL_TRANSFORM_1_0(ROW) \
    ROW(FLIP_H, 1 << 0)                 \
    ROW(FLIP_V, 1 << 1)                 \
    ROW(ROT_90, 4)                      \
    ROW(ROT_180, 3)                     \
    ROW(ROT_270, 7)
enum class Transform : int32_t { ZELKCAM_HIDL_TRANSFORM_1_0(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(Transform, ZELKCAM_HIDL_TRANSFORM_1_0)

// What is done to colours before they are shown.
#define ZELKCAM_HIDL_COLOR_TRANSFORM_1_0(ROW) \
    ROW(IDENTITY, 0)                          \
    ROW(ARBITRARY_MATRIX, 1)                  \
    ROW(VALUE_INVERSE, 2)                     \
    ROW(GRAYSCALE, 3)                         \
    ROW(CORRECT_PROTANOPIA, 4)                \
    ROW(CORRECT_DEUTERANOPIA, 5)              \
    ROW(CORRECT_TRITANOPIA, 6)
enum class ColorTransform : int32_t { ZELKCAM_HIDL_COLOR_TRANSFORM_1_0(ZELKCAM_ENUMERATOR) };
ZELKCAM_HIDL_ENUM(ColorTransform, ZELKCAM_HIDL_COLOR_TRANSFORM_1_0)

}  // namespace android::hardware::graphics::common::V1_0
