// Graphics types of HIDL common 1.2: those of 1.1 and what it adds.
#pragma once

#include <stdint.h>

#include <array>

#include <android/hardware/graphics/common/1.1/types.h>
#include <hidl/HidlSupport.h>

#include "zelkcam/host/hidl_enum.h"

namespace android {
namespace hardware {
namespace graphics {
namespace common {
namespace V1_2 {

// Concrete and flexible pixel formats.
enum class PixelFormat : int32_t {
    RGBA_8888 = 0x1,
    RGBX_8888 = 0x2,
    RGB_888 = 0x3,
    RGB_565 = 0x4,
    BGRA_8888 = 0x5,
    YCBCR_422_SP = 0x10,
    YCRCB_420_SP = 0x11,
    YCBCR_422_I = 0x14,
    RGBA_FP16 = 0x16,
    RAW16 = 0x20,
    BLOB = 0x21,
    IMPLEMENTATION_DEFINED = 0x22,
    YCBCR_420_888 = 0x23,
    RAW_OPAQUE = 0x24,
    RAW10 = 0x25,
    RAW12 = 0x26,
    RGBA_1010102 = 0x2B,
    Y8 = 0x20203859,
    Y16 = 0x20363159,
    YV12 = 0x32315659,
    DEPTH_16 = 0x30,
    DEPTH_24 = 0x31,
    DEPTH_24_STENCIL_8 = 0x32,
    DEPTH_32F = 0x33,
    DEPTH_32F_STENCIL_8 = 0x34,
    STENCIL_8 = 0x35,
    YCBCR_P010 = 0x36,
    HSV_888 = 0x37,
};

inline constexpr auto kPixelFormatNames = ::zelkcam::host::extendEnumNames<PixelFormat>(
        V1_1::kPixelFormatNames, std::array<::zelkcam::host::EnumName<PixelFormat>, 1>{{
                                         {PixelFormat::HSV_888, "HSV_888"},
                                 }});

ZELKCAM_HIDL_ENUM(PixelFormat, kPixelFormatNames)

// What a buffer is used for: CPU levels in two fields, one bit for each device.
enum class BufferUsage : uint64_t {
    CPU_READ_MASK = 0xF,
    CPU_READ_NEVER = 0,
    CPU_READ_RARELY = 2,
    CPU_READ_OFTEN = 3,
    CPU_WRITE_MASK = 0xF0,
    CPU_WRITE_NEVER = 0,
    CPU_WRITE_RARELY = 0x20,
    CPU_WRITE_OFTEN = 0x30,
    GPU_TEXTURE = 1ULL << 8,
    GPU_RENDER_TARGET = 1ULL << 9,
    COMPOSER_OVERLAY = 1ULL << 11,
    COMPOSER_CLIENT_TARGET = 1ULL << 12,
    PROTECTED = 1ULL << 14,
    COMPOSER_CURSOR = 1ULL << 15,
    VIDEO_ENCODER = 1ULL << 16,
    CAMERA_OUTPUT = 1ULL << 17,
    CAMERA_INPUT = 1ULL << 18,
    RENDERSCRIPT = 1ULL << 20,
    VIDEO_DECODER = 1ULL << 22,
    SENSOR_DIRECT_DATA = 1ULL << 23,
    GPU_DATA_BUFFER = 1ULL << 24,
    VENDOR_MASK = 0xFULL << 28,
    VENDOR_MASK_HI = 0xFFFFULL << 48,
    GPU_CUBE_MAP = 1ULL << 25,
    GPU_MIPMAP_COMPLETE = 1ULL << 26,
    HW_IMAGE_ENCODER = 1ULL << 27,
};

inline constexpr auto kBufferUsageNames = ::zelkcam::host::extendEnumNames<BufferUsage>(
        V1_1::kBufferUsageNames, std::array<::zelkcam::host::EnumName<BufferUsage>, 1>{{
                                         {BufferUsage::HW_IMAGE_ENCODER, "HW_IMAGE_ENCODER"},
                                 }});

ZELKCAM_HIDL_ENUM(BufferUsage, kBufferUsageNames)

// How pixel values are to be read: a standard, a transfer and a range field, or a single
// legacy code below 0x10000.
enum class Dataspace : int32_t {
    UNKNOWN = 0,
    ARBITRARY = 1,
    STANDARD_SHIFT = 16,
    STANDARD_MASK = 63 << STANDARD_SHIFT,
    STANDARD_UNSPECIFIED = 0 << STANDARD_SHIFT,
    STANDARD_BT709 = 1 << STANDARD_SHIFT,
    STANDARD_BT601_625 = 2 << STANDARD_SHIFT,
    STANDARD_BT601_625_UNADJUSTED = 3 << STANDARD_SHIFT,
    STANDARD_BT601_525 = 4 << STANDARD_SHIFT,
    STANDARD_BT601_525_UNADJUSTED = 5 << STANDARD_SHIFT,
    STANDARD_BT2020 = 6 << STANDARD_SHIFT,
    STANDARD_BT2020_CONSTANT_LUMINANCE = 7 << STANDARD_SHIFT,
    STANDARD_BT470M = 8 << STANDARD_SHIFT,
    STANDARD_FILM = 9 << STANDARD_SHIFT,
    STANDARD_DCI_P3 = 10 << STANDARD_SHIFT,
    STANDARD_ADOBE_RGB = 11 << STANDARD_SHIFT,
    TRANSFER_SHIFT = 22,
    TRANSFER_MASK = 31 << TRANSFER_SHIFT,
    TRANSFER_UNSPECIFIED = 0 << TRANSFER_SHIFT,
    TRANSFER_LINEAR = 1 << TRANSFER_SHIFT,
    TRANSFER_SRGB = 2 << TRANSFER_SHIFT,
    TRANSFER_SMPTE_170M = 3 << TRANSFER_SHIFT,
    TRANSFER_GAMMA2_2 = 4 << TRANSFER_SHIFT,
    TRANSFER_GAMMA2_6 = 5 << TRANSFER_SHIFT,
    TRANSFER_GAMMA2_8 = 6 << TRANSFER_SHIFT,
    TRANSFER_ST2084 = 7 << TRANSFER_SHIFT,
    TRANSFER_HLG = 8 << TRANSFER_SHIFT,
    RANGE_SHIFT = 27,
    RANGE_MASK = 7 << RANGE_SHIFT,
    RANGE_UNSPECIFIED = 0 << RANGE_SHIFT,
    RANGE_FULL = 1 << RANGE_SHIFT,
    RANGE_LIMITED = 2 << RANGE_SHIFT,
    RANGE_EXTENDED = 3 << RANGE_SHIFT,
    SRGB_LINEAR = 0x200,
    V0_SRGB_LINEAR = STANDARD_BT709 | TRANSFER_LINEAR | RANGE_FULL,
    V0_SCRGB_LINEAR = STANDARD_BT709 | TRANSFER_LINEAR | RANGE_EXTENDED,
    SRGB = 0x201,
    V0_SRGB = STANDARD_BT709 | TRANSFER_SRGB | RANGE_FULL,
    V0_SCRGB = STANDARD_BT709 | TRANSFER_SRGB | RANGE_EXTENDED,
    JFIF = 0x101,
    V0_JFIF = STANDARD_BT601_625 | TRANSFER_SMPTE_170M | RANGE_FULL,
    BT601_625 = 0x102,
    V0_BT601_625 = STANDARD_BT601_625 | TRANSFER_SMPTE_170M | RANGE_LIMITED,
    BT601_525 = 0x103,
    V0_BT601_525 = STANDARD_BT601_525 | TRANSFER_SMPTE_170M | RANGE_LIMITED,
    BT709 = 0x104,
    V0_BT709 = STANDARD_BT709 | TRANSFER_SMPTE_170M | RANGE_LIMITED,
    DCI_P3_LINEAR = STANDARD_DCI_P3 | TRANSFER_LINEAR | RANGE_FULL,
    DCI_P3 = STANDARD_DCI_P3 | TRANSFER_GAMMA2_6 | RANGE_FULL,
    DISPLAY_P3_LINEAR = STANDARD_DCI_P3 | TRANSFER_LINEAR | RANGE_FULL,
    DISPLAY_P3 = STANDARD_DCI_P3 | TRANSFER_SRGB | RANGE_FULL,
    ADOBE_RGB = STANDARD_ADOBE_RGB | TRANSFER_GAMMA2_2 | RANGE_FULL,
    BT2020_LINEAR = STANDARD_BT2020 | TRANSFER_LINEAR | RANGE_FULL,
    BT2020 = STANDARD_BT2020 | TRANSFER_SMPTE_170M | RANGE_FULL,
    BT2020_PQ = STANDARD_BT2020 | TRANSFER_ST2084 | RANGE_FULL,
    DEPTH = 0x1000,
    SENSOR = 0x1001,
    BT2020_ITU = STANDARD_BT2020 | TRANSFER_SMPTE_170M | RANGE_LIMITED,
    BT2020_ITU_PQ = STANDARD_BT2020 | TRANSFER_ST2084 | RANGE_LIMITED,
    BT2020_ITU_HLG = STANDARD_BT2020 | TRANSFER_HLG | RANGE_LIMITED,
    BT2020_HLG = STANDARD_BT2020 | TRANSFER_HLG | RANGE_FULL,
    DISPLAY_BT2020 = STANDARD_BT2020 | TRANSFER_SRGB | RANGE_FULL,
    DYNAMIC_DEPTH = 0x1002,
    JPEG_APP_SEGMENTS = 0x1003,
    HEIF = 0x1004,
};

inline constexpr auto kDataspaceNames = ::zelkcam::host::extendEnumNames<Dataspace>(
        V1_1::kDataspaceNames, std::array<::zelkcam::host::EnumName<Dataspace>, 4>{{
                                       {Dataspace::DISPLAY_BT2020, "DISPLAY_BT2020"},
                                       {Dataspace::DYNAMIC_DEPTH, "DYNAMIC_DEPTH"},
                                       {Dataspace::JPEG_APP_SEGMENTS, "JPEG_APP_SEGMENTS"},
                                       {Dataspace::HEIF, "HEIF"},
                               }});

ZELKCAM_HIDL_ENUM(Dataspace, kDataspaceNames)

// Not a record of its own: width, height, layers, format, usage (low and high word), stride and
// reserved words of a hardware buffer.
using HardwareBufferDescription = hidl_array<uint32_t, 10>;

struct HardwareBuffer final {
    HardwareBufferDescription description __attribute__((aligned(4)));
    hidl_handle nativeHandle __attribute__((aligned(8)));
};

// Left, top, right, bottom. Not the mapper's Rect.
using Rect = hidl_array<int32_t, 4>;

}  // namespace V1_2
}  // namespace common
}  // namespace graphics
}  // namespace hardware
}  // namespace android

ZELKCAM_HIDL_ENUM_VALUES(android::hardware::graphics::common::V1_2::PixelFormat,
                         android::hardware::graphics::common::V1_2::kPixelFormatNames)
ZELKCAM_HIDL_ENUM_VALUES(android::hardware::graphics::common::V1_2::BufferUsage,
                         android::hardware::graphics::common::V1_2::kBufferUsageNames)
ZELKCAM_HIDL_ENUM_VALUES(android::hardware::graphics::common::V1_2::Dataspace,
                         android::hardware::graphics::common::V1_2::kDataspaceNames)
