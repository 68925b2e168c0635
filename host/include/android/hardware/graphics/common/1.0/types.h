// Graphics types of HIDL common 1.0.
#pragma once

#include <stdint.h>

#include <array>

#include <hidl/HidlSupport.h>

#include "zelkcam/host/hidl_enum.h"

namespace android {
namespace hardware {
namespace graphics {
namespace common {
namespace V1_0 {

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
};

inline constexpr auto kPixelFormatNames = std::array<::zelkcam::host::EnumName<PixelFormat>, 20>{{
        {PixelFormat::RGBA_8888, "RGBA_8888"},
        {PixelFormat::RGBX_8888, "RGBX_8888"},
        {PixelFormat::RGB_888, "RGB_888"},
        {PixelFormat::RGB_565, "RGB_565"},
        {PixelFormat::BGRA_8888, "BGRA_8888"},
        {PixelFormat::YCBCR_422_SP, "YCBCR_422_SP"},
        {PixelFormat::YCRCB_420_SP, "YCRCB_420_SP"},
        {PixelFormat::YCBCR_422_I, "YCBCR_422_I"},
        {PixelFormat::RGBA_FP16, "RGBA_FP16"},
        {PixelFormat::RAW16, "RAW16"},
        {PixelFormat::BLOB, "BLOB"},
        {PixelFormat::IMPLEMENTATION_DEFINED, "IMPLEMENTATION_DEFINED"},
        {PixelFormat::YCBCR_420_888, "YCBCR_420_888"},
        {PixelFormat::RAW_OPAQUE, "RAW_OPAQUE"},
        {PixelFormat::RAW10, "RAW10"},
        {PixelFormat::RAW12, "RAW12"},
        {PixelFormat::RGBA_1010102, "RGBA_1010102"},
        {PixelFormat::Y8, "Y8"},
        {PixelFormat::Y16, "Y16"},
        {PixelFormat::YV12, "YV12"},
}};

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
};

inline constexpr auto kBufferUsageNames = std::array<::zelkcam::host::EnumName<BufferUsage>, 23>{{
        {BufferUsage::CPU_READ_MASK, "CPU_READ_MASK"},
        {BufferUsage::CPU_READ_NEVER, "CPU_READ_NEVER"},
        {BufferUsage::CPU_READ_RARELY, "CPU_READ_RARELY"},
        {BufferUsage::CPU_READ_OFTEN, "CPU_READ_OFTEN"},
        {BufferUsage::CPU_WRITE_MASK, "CPU_WRITE_MASK"},
        {BufferUsage::CPU_WRITE_NEVER, "CPU_WRITE_NEVER"},
        {BufferUsage::CPU_WRITE_RARELY, "CPU_WRITE_RARELY"},
        {BufferUsage::CPU_WRITE_OFTEN, "CPU_WRITE_OFTEN"},
        {BufferUsage::GPU_TEXTURE, "GPU_TEXTURE"},
        {BufferUsage::GPU_RENDER_TARGET, "GPU_RENDER_TARGET"},
        {BufferUsage::COMPOSER_OVERLAY, "COMPOSER_OVERLAY"},
        {BufferUsage::COMPOSER_CLIENT_TARGET, "COMPOSER_CLIENT_TARGET"},
        {BufferUsage::PROTECTED, "PROTECTED"},
        {BufferUsage::COMPOSER_CURSOR, "COMPOSER_CURSOR"},
        {BufferUsage::VIDEO_ENCODER, "VIDEO_ENCODER"},
        {BufferUsage::CAMERA_OUTPUT, "CAMERA_OUTPUT"},
        {BufferUsage::CAMERA_INPUT, "CAMERA_INPUT"},
        {BufferUsage::RENDERSCRIPT, "RENDERSCRIPT"},
        {BufferUsage::VIDEO_DECODER, "VIDEO_DECODER"},
        {BufferUsage::SENSOR_DIRECT_DATA, "SENSOR_DIRECT_DATA"},
        {BufferUsage::GPU_DATA_BUFFER, "GPU_DATA_BUFFER"},
        {BufferUsage::VENDOR_MASK, "VENDOR_MASK"},
        {BufferUsage::VENDOR_MASK_HI, "VENDOR_MASK_HI"},
}};

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
};

inline constexpr auto kDataspaceNames = std::array<::zelkcam::host::EnumName<Dataspace>, 57>{{
        {Dataspace::UNKNOWN, "UNKNOWN"},
        {Dataspace::ARBITRARY, "ARBITRARY"},
        {Dataspace::STANDARD_SHIFT, "STANDARD_SHIFT"},
        {Dataspace::STANDARD_MASK, "STANDARD_MASK"},
        {Dataspace::STANDARD_UNSPECIFIED, "STANDARD_UNSPECIFIED"},
        {Dataspace::STANDARD_BT709, "STANDARD_BT709"},
        {Dataspace::STANDARD_BT601_625, "STANDARD_BT601_625"},
        {Dataspace::STANDARD_BT601_625_UNADJUSTED, "STANDARD_BT601_625_UNADJUSTED"},
        {Dataspace::STANDARD_BT601_525, "STANDARD_BT601_525"},
        {Dataspace::STANDARD_BT601_525_UNADJUSTED, "STANDARD_BT601_525_UNADJUSTED"},
        {Dataspace::STANDARD_BT2020, "STANDARD_BT2020"},
        {Dataspace::STANDARD_BT2020_CONSTANT_LUMINANCE, "STANDARD_BT2020_CONSTANT_LUMINANCE"},
        {Dataspace::STANDARD_BT470M, "STANDARD_BT470M"},
        {Dataspace::STANDARD_FILM, "STANDARD_FILM"},
        {Dataspace::STANDARD_DCI_P3, "STANDARD_DCI_P3"},
        {Dataspace::STANDARD_ADOBE_RGB, "STANDARD_ADOBE_RGB"},
        {Dataspace::TRANSFER_SHIFT, "TRANSFER_SHIFT"},
        {Dataspace::TRANSFER_MASK, "TRANSFER_MASK"},
        {Dataspace::TRANSFER_UNSPECIFIED, "TRANSFER_UNSPECIFIED"},
        {Dataspace::TRANSFER_LINEAR, "TRANSFER_LINEAR"},
        {Dataspace::TRANSFER_SRGB, "TRANSFER_SRGB"},
        {Dataspace::TRANSFER_SMPTE_170M, "TRANSFER_SMPTE_170M"},
        {Dataspace::TRANSFER_GAMMA2_2, "TRANSFER_GAMMA2_2"},
        {Dataspace::TRANSFER_GAMMA2_6, "TRANSFER_GAMMA2_6"},
        {Dataspace::TRANSFER_GAMMA2_8, "TRANSFER_GAMMA2_8"},
        {Dataspace::TRANSFER_ST2084, "TRANSFER_ST2084"},
        {Dataspace::TRANSFER_HLG, "TRANSFER_HLG"},
        {Dataspace::RANGE_SHIFT, "RANGE_SHIFT"},
        {Dataspace::RANGE_MASK, "RANGE_MASK"},
        {Dataspace::RANGE_UNSPECIFIED, "RANGE_UNSPECIFIED"},
        {Dataspace::RANGE_FULL, "RANGE_FULL"},
        {Dataspace::RANGE_LIMITED, "RANGE_LIMITED"},
        {Dataspace::RANGE_EXTENDED, "RANGE_EXTENDED"},
        {Dataspace::SRGB_LINEAR, "SRGB_LINEAR"},
        {Dataspace::V0_SRGB_LINEAR, "V0_SRGB_LINEAR"},
        {Dataspace::V0_SCRGB_LINEAR, "V0_SCRGB_LINEAR"},
        {Dataspace::SRGB, "SRGB"},
        {Dataspace::V0_SRGB, "V0_SRGB"},
        {Dataspace::V0_SCRGB, "V0_SCRGB"},
        {Dataspace::JFIF, "JFIF"},
        {Dataspace::V0_JFIF, "V0_JFIF"},
        {Dataspace::BT601_625, "BT601_625"},
        {Dataspace::V0_BT601_625, "V0_BT601_625"},
        {Dataspace::BT601_525, "BT601_525"},
        {Dataspace::V0_BT601_525, "V0_BT601_525"},
        {Dataspace::BT709, "BT709"},
        {Dataspace::V0_BT709, "V0_BT709"},
        {Dataspace::DCI_P3_LINEAR, "DCI_P3_LINEAR"},
        {Dataspace::DCI_P3, "DCI_P3"},
        {Dataspace::DISPLAY_P3_LINEAR, "DISPLAY_P3_LINEAR"},
        {Dataspace::DISPLAY_P3, "DISPLAY_P3"},
        {Dataspace::ADOBE_RGB, "ADOBE_RGB"},
        {Dataspace::BT2020_LINEAR, "BT2020_LINEAR"},
        {Dataspace::BT2020, "BT2020"},
        {Dataspace::BT2020_PQ, "BT2020_PQ"},
        {Dataspace::DEPTH, "DEPTH"},
        {Dataspace::SENSOR, "SENSOR"},
}};

ZELKCAM_HIDL_ENUM(Dataspace, kDataspaceNames)

}  // namespace V1_0
}  // namespace common
}  // namespace graphics
}  // namespace hardware
}  // namespace android

ZELKCAM_HIDL_ENUM_VALUES(android::hardware::graphics::common::V1_0::PixelFormat,
                         android::hardware::graphics::common::V1_0::kPixelFormatNames)
ZELKCAM_HIDL_ENUM_VALUES(android::hardware::graphics::common::V1_0::BufferUsage,
                         android::hardware::graphics::common::V1_0::kBufferUsageNames)
ZELKCAM_HIDL_ENUM_VALUES(android::hardware::graphics::common::V1_0::Dataspace,
                         android::hardware::graphics::common::V1_0::kDataspaceNames)
