// The names of pixel formats, usages and dataspaces, as data: Names.cpp prints from these tables
// and grallocinfo parses from them, so that the two cannot disagree. Every name is NUL-terminated.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "utils/gralloc/CodeTable.h"

namespace NSCam::gralloc {

struct CodeName {
    int32_t code;
    std::string_view name;
};

// A usage flag, or one value of a usage field: named when (usage & mask) == value.
struct UsageName {
    uint32_t mask;
    uint32_t value;
    std::string_view name;
};

inline constexpr std::array kPixelFormatNames{
        CodeName{0x1, "RGBA_8888"},
        CodeName{0x2, "RGBX_8888"},
        CodeName{0x3, "RGB_888"},
        CodeName{0x4, "RGB_565"},
        CodeName{0x5, "BGRA_8888"},
        CodeName{0x10, "YCbCr_422_SP"},
        CodeName{0x11, "YCrCb_420_SP"},
        CodeName{0x14, "YCbCr_422_I"},
        CodeName{0x20, "RAW16"},
        CodeName{0x21, "BLOB"},
        CodeName{0x22, "IMPLEMENTATION_DEFINED"},
        CodeName{0x23, "YCbCr_420_888"},
        CodeName{0x24, "RAW_OPAQUE"},
        CodeName{0x25, "RAW10"},
        CodeName{0x36, "YCBCR_P010"},
        CodeName{0x111, "CAMERA_OPAQUE"},
        CodeName{0x1000, "NV12"},
        CodeName{0x20203859, "Y8"},
        CodeName{0x20363159, "Y16"},
        CodeName{0x32315659, "YV12"},
};

// Usages are printed in the order of these two tables.
inline constexpr std::array kUsageFieldNames{
        UsageName{0xF, 0x2, "SW_READ_RARELY"},
        UsageName{0xF, 0x3, "SW_READ_OFTEN"},
        UsageName{0xF0, 0x20, "SW_WRITE_RARELY"},
        UsageName{0xF0, 0x30, "SW_WRITE_OFTEN"},
        UsageName{0x60000, 0x20000, "HW_CAMERA_WRITE"},
        UsageName{0x60000, 0x40000, "HW_CAMERA_READ"},
        UsageName{0x60000, 0x60000, "HW_CAMERA_ZSL"},
};

// Contract: the flags of the second table are looked at only when one of these bits is set, so a
// usage whose only hardware bits are 27 or 29 prints neither of them.
inline constexpr uint32_t kHardwareUsageMask = 0x71F00;

inline constexpr std::array kHardwareUsageNames{
        UsageName{0x100, 0x100, "HW_TEXTURE"},
        UsageName{0x200, 0x200, "HW_RENDER"},
        UsageName{0x400, 0x400, "HW_2D"},
        UsageName{0x800, 0x800, "HW_COMPOSER"},
        UsageName{0x1000, 0x1000, "HW_FB"},
        UsageName{0x10000, 0x10000, "HW_VIDEO_ENCODER"},
        UsageName{0x8000000, 0x8000000, "HW_IMAGE_ENCODER"},
        UsageName{0x20000000, 0x20000000, "SMVR"},
};

// Legacy dataspaces: the bare name, nothing behind it.
inline constexpr std::array kLegacyDataspaceNames{
        CodeName{0x0, "UNKNOWN"},
        CodeName{0x1, "ARBITRARY"},
        CodeName{0x101, "JFIF"},
        CodeName{0x102, "BT601_625"},
        CodeName{0x103, "BT601_525"},
        CodeName{0x104, "BT709"},
        CodeName{0x200, "SRGB_LINEAR"},
        CodeName{0x201, "SRGB"},
        CodeName{0x1000, "DEPTH"},
        CodeName{0x1001, "SENSOR"},
        CodeName{0x1003, "JPEG_APP_SEGMENTS"},
        CodeName{0x1004, "HEIF"},
};

// Dataspaces that have a name, which is followed by the names of their fields.
inline constexpr std::array kCombinedDataspaceNames{
        CodeName{0x8410000, "V0_SRGB_LINEAR"}, CodeName{0x8460000, "BT2020_LINEAR"},
        CodeName{0x84A0000, "DCI_P3_LINEAR"},  CodeName{0x8810000, "V0_SRGB"},
        CodeName{0x88A0000, "DISPLAY_P3"},     CodeName{0x8C20000, "V0_JFIF"},
        CodeName{0x8C60000, "BT2020"},         CodeName{0x90B0000, "ADOBE_RGB"},
        CodeName{0x94A0000, "DCI_P3"},         CodeName{0x9C60000, "BT2020_PQ"},
        CodeName{0x10C10000, "V0_BT709"},      CodeName{0x10C20000, "V0_BT601_625"},
        CodeName{0x10C40000, "V0_BT601_525"},  CodeName{0x18410000, "V0_SCRGB_LINEAR"},
        CodeName{0x18810000, "V0_SCRGB"},
};

// The fields of the Android dataspace layout, in the order in which they are printed.
inline constexpr std::array kDataspaceStandardNames{
        CodeName{1 << 16, "STANDARD_BT709"},
        CodeName{2 << 16, "STANDARD_BT601_625"},
        CodeName{3 << 16, "STANDARD_BT601_625_UNADJUSTED"},
        CodeName{4 << 16, "STANDARD_BT601_525"},
        CodeName{5 << 16, "STANDARD_BT601_525_UNADJUSTED"},
        CodeName{6 << 16, "STANDARD_BT2020"},
        CodeName{7 << 16, "STANDARD_BT2020_CONSTANT_LUMINANCE"},
        CodeName{8 << 16, "STANDARD_BT470M"},
        CodeName{9 << 16, "STANDARD_FILM"},
        CodeName{10 << 16, "STANDARD_DCI_P3"},
        CodeName{11 << 16, "STANDARD_ADOBE_RGB"},
};

inline constexpr std::array kDataspaceTransferNames{
        CodeName{1 << 22, "TRANSFER_LINEAR"},     CodeName{2 << 22, "TRANSFER_SRGB"},
        CodeName{3 << 22, "TRANSFER_SMPTE_170M"}, CodeName{4 << 22, "TRANSFER_GAMMA2_2"},
        CodeName{5 << 22, "TRANSFER_GAMMA2_6"},   CodeName{6 << 22, "TRANSFER_GAMMA2_8"},
        CodeName{7 << 22, "TRANSFER_ST2084"},     CodeName{8 << 22, "TRANSFER_HLG"},
};

inline constexpr std::array kDataspaceRangeNames{
        CodeName{1 << 27, "RANGE_FULL"},
        CodeName{2 << 27, "RANGE_LIMITED"},
        CodeName{3 << 27, "RANGE_EXTENDED"},
};

inline constexpr int32_t kDataspaceStandardMask = 0x3F << 16;
inline constexpr int32_t kDataspaceTransferMask = 0x1F << 22;
inline constexpr int32_t kDataspaceRangeMask = 0x7 << 27;

namespace name_table_checks {

template <typename Row, size_t Rows>
consteval bool namesDiffer(const std::array<Row, Rows>& table) {
    for (size_t i = 0; i < Rows; ++i) {
        for (size_t j = i + 1; j < Rows; ++j) {
            if (table[i].name == table[j].name) {
                return false;
            }
        }
    }
    return true;
}

// Whether a field's values follow each other, so that a value is the place of its row.
template <size_t Rows>
consteval bool countsFromOne(const std::array<CodeName, Rows>& table) {
    for (size_t row = 0; row < Rows; ++row) {
        if (table[row].code != table[0].code * static_cast<int32_t>(row + 1)) {
            return false;
        }
    }
    return true;
}

static_assert(ascendingByCode(kPixelFormatNames) && namesDiffer(kPixelFormatNames));
static_assert(namesDiffer(kUsageFieldNames) && namesDiffer(kHardwareUsageNames));
static_assert(ascendingByCode(kLegacyDataspaceNames) && namesDiffer(kLegacyDataspaceNames));
static_assert(ascendingByCode(kCombinedDataspaceNames) && namesDiffer(kCombinedDataspaceNames));
static_assert(countsFromOne(kDataspaceStandardNames) && namesDiffer(kDataspaceStandardNames));
static_assert(countsFromOne(kDataspaceTransferNames) && namesDiffer(kDataspaceTransferNames));
static_assert(countsFromOne(kDataspaceRangeNames) && namesDiffer(kDataspaceRangeNames));

}  // namespace name_table_checks

}  // namespace NSCam::gralloc
