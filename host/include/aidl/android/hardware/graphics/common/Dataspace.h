// How the numbers of a buffer mean colours: bits 16-21 the standard, 22-26 the transfer, 27-29 the
// range.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <android/binder_enums.h>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

namespace aidl {
namespace android {
namespace hardware {
namespace graphics {
namespace common {

enum class Dataspace : int32_t {
    UNKNOWN = 0,
    ARBITRARY = 1,
    STANDARD_SHIFT = 16,
    STANDARD_MASK = 63 << 16,
    STANDARD_UNSPECIFIED = 0,
    STANDARD_BT709 = 1 << 16,
    STANDARD_BT601_625 = 2 << 16,
    STANDARD_BT601_625_UNADJUSTED = 3 << 16,
    STANDARD_BT601_525 = 4 << 16,
    STANDARD_BT601_525_UNADJUSTED = 5 << 16,
    STANDARD_BT2020 = 6 << 16,
    STANDARD_BT2020_CONSTANT_LUMINANCE = 7 << 16,
    STANDARD_BT470M = 8 << 16,
    STANDARD_FILM = 9 << 16,
    STANDARD_DCI_P3 = 10 << 16,
    STANDARD_ADOBE_RGB = 11 << 16,
    TRANSFER_SHIFT = 22,
    TRANSFER_MASK = 31 << 22,
    TRANSFER_UNSPECIFIED = 0,
    TRANSFER_LINEAR = 1 << 22,
    TRANSFER_SRGB = 2 << 22,
    TRANSFER_SMPTE_170M = 3 << 22,
    TRANSFER_GAMMA2_2 = 4 << 22,
    TRANSFER_GAMMA2_6 = 5 << 22,
    TRANSFER_GAMMA2_8 = 6 << 22,
    TRANSFER_ST2084 = 7 << 22,
    TRANSFER_HLG = 8 << 22,
    RANGE_SHIFT = 27,
    RANGE_MASK = 7 << 27,
    RANGE_UNSPECIFIED = 0,
    RANGE_FULL = 1 << 27,
    RANGE_LIMITED = 2 << 27,
    RANGE_EXTENDED = 3 << 27,
    SRGB_LINEAR = 0x8410000,
    SCRGB_LINEAR = 0x18410000,
    SRGB = 0x8810000,
    SCRGB = 0x18810000,
    JFIF = 0x8C20000,
    BT601_625 = 0x10C20000,
    BT601_525 = 0x10C40000,
    BT709 = 0x10C10000,
    DCI_P3_LINEAR = 0x84A0000,
    DCI_P3 = 0x94A0000,
    DISPLAY_P3_LINEAR = 0x84A0000,
    DISPLAY_P3 = 0x88A0000,
    ADOBE_RGB = 0x90B0000,
    ADOBE_RGB_LINEAR = 0x84B0000,
    BT2020_LINEAR = 0x8460000,
    BT2020 = 0x8C60000,
    BT2020_PQ = 0x9C60000,
    DEPTH = 0x1000,
    SENSOR = 0x1001,
    BT2020_ITU = 0x10C60000,
    BT2020_ITU_PQ = 0x11C60000,
    BT2020_ITU_HLG = 0x12060000,
    BT2020_HLG = 0xA060000,
    DISPLAY_BT2020 = 0x8860000,
    DYNAMIC_DEPTH = 0x1002,
    JPEG_APP_SEGMENTS = 0x1003,
    HEIF = 0x1004,
    JPEG_R = 0x1005,
    BT709_FULL_RANGE = 0x8C10000,
    BT2020_LINEAR_EXTENDED = 0x18460000,
};

// The enumerator's name; of several with one value the first; the number of an unknown value.
[[nodiscard]] static inline std::string toString(Dataspace val) {
    switch (val) {
        case Dataspace::UNKNOWN:
            return "UNKNOWN";
        case Dataspace::ARBITRARY:
            return "ARBITRARY";
        case Dataspace::STANDARD_SHIFT:
            return "STANDARD_SHIFT";
        case Dataspace::STANDARD_MASK:
            return "STANDARD_MASK";
        case Dataspace::STANDARD_BT709:
            return "STANDARD_BT709";
        case Dataspace::STANDARD_BT601_625:
            return "STANDARD_BT601_625";
        case Dataspace::STANDARD_BT601_625_UNADJUSTED:
            return "STANDARD_BT601_625_UNADJUSTED";
        case Dataspace::STANDARD_BT601_525:
            return "STANDARD_BT601_525";
        case Dataspace::STANDARD_BT601_525_UNADJUSTED:
            return "STANDARD_BT601_525_UNADJUSTED";
        case Dataspace::STANDARD_BT2020:
            return "STANDARD_BT2020";
        case Dataspace::STANDARD_BT2020_CONSTANT_LUMINANCE:
            return "STANDARD_BT2020_CONSTANT_LUMINANCE";
        case Dataspace::STANDARD_BT470M:
            return "STANDARD_BT470M";
        case Dataspace::STANDARD_FILM:
            return "STANDARD_FILM";
        case Dataspace::STANDARD_DCI_P3:
            return "STANDARD_DCI_P3";
        case Dataspace::STANDARD_ADOBE_RGB:
            return "STANDARD_ADOBE_RGB";
        case Dataspace::TRANSFER_SHIFT:
            return "TRANSFER_SHIFT";
        case Dataspace::TRANSFER_MASK:
            return "TRANSFER_MASK";
        case Dataspace::TRANSFER_LINEAR:
            return "TRANSFER_LINEAR";
        case Dataspace::TRANSFER_SRGB:
            return "TRANSFER_SRGB";
        case Dataspace::TRANSFER_SMPTE_170M:
            return "TRANSFER_SMPTE_170M";
        case Dataspace::TRANSFER_GAMMA2_2:
            return "TRANSFER_GAMMA2_2";
        case Dataspace::TRANSFER_GAMMA2_6:
            return "TRANSFER_GAMMA2_6";
        case Dataspace::TRANSFER_GAMMA2_8:
            return "TRANSFER_GAMMA2_8";
        case Dataspace::TRANSFER_ST2084:
            return "TRANSFER_ST2084";
        case Dataspace::TRANSFER_HLG:
            return "TRANSFER_HLG";
        case Dataspace::RANGE_SHIFT:
            return "RANGE_SHIFT";
        case Dataspace::RANGE_MASK:
            return "RANGE_MASK";
        case Dataspace::RANGE_FULL:
            return "RANGE_FULL";
        case Dataspace::RANGE_LIMITED:
            return "RANGE_LIMITED";
        case Dataspace::RANGE_EXTENDED:
            return "RANGE_EXTENDED";
        case Dataspace::SRGB_LINEAR:
            return "SRGB_LINEAR";
        case Dataspace::SCRGB_LINEAR:
            return "SCRGB_LINEAR";
        case Dataspace::SRGB:
            return "SRGB";
        case Dataspace::SCRGB:
            return "SCRGB";
        case Dataspace::JFIF:
            return "JFIF";
        case Dataspace::BT601_625:
            return "BT601_625";
        case Dataspace::BT601_525:
            return "BT601_525";
        case Dataspace::BT709:
            return "BT709";
        case Dataspace::DCI_P3_LINEAR:
            return "DCI_P3_LINEAR";
        case Dataspace::DCI_P3:
            return "DCI_P3";
        case Dataspace::DISPLAY_P3:
            return "DISPLAY_P3";
        case Dataspace::ADOBE_RGB:
            return "ADOBE_RGB";
        case Dataspace::ADOBE_RGB_LINEAR:
            return "ADOBE_RGB_LINEAR";
        case Dataspace::BT2020_LINEAR:
            return "BT2020_LINEAR";
        case Dataspace::BT2020:
            return "BT2020";
        case Dataspace::BT2020_PQ:
            return "BT2020_PQ";
        case Dataspace::DEPTH:
            return "DEPTH";
        case Dataspace::SENSOR:
            return "SENSOR";
        case Dataspace::BT2020_ITU:
            return "BT2020_ITU";
        case Dataspace::BT2020_ITU_PQ:
            return "BT2020_ITU_PQ";
        case Dataspace::BT2020_ITU_HLG:
            return "BT2020_ITU_HLG";
        case Dataspace::BT2020_HLG:
            return "BT2020_HLG";
        case Dataspace::DISPLAY_BT2020:
            return "DISPLAY_BT2020";
        case Dataspace::DYNAMIC_DEPTH:
            return "DYNAMIC_DEPTH";
        case Dataspace::JPEG_APP_SEGMENTS:
            return "JPEG_APP_SEGMENTS";
        case Dataspace::HEIF:
            return "HEIF";
        case Dataspace::JPEG_R:
            return "JPEG_R";
        case Dataspace::BT709_FULL_RANGE:
            return "BT709_FULL_RANGE";
        case Dataspace::BT2020_LINEAR_EXTENDED:
            return "BT2020_LINEAR_EXTENDED";
        default:
            return std::to_string(static_cast<int32_t>(val));
    }
}

}  // namespace common
}  // namespace graphics
}  // namespace hardware
}  // namespace android
}  // namespace aidl

namespace ndk {
namespace internal {

template <>
constexpr inline std::array<aidl::android::hardware::graphics::common::Dataspace, 63> enum_values<
        aidl::android::hardware::graphics::common::Dataspace> = {
        aidl::android::hardware::graphics::common::Dataspace::UNKNOWN,
        aidl::android::hardware::graphics::common::Dataspace::ARBITRARY,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_SHIFT,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_MASK,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_UNSPECIFIED,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT709,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT601_625,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT601_625_UNADJUSTED,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT601_525,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT601_525_UNADJUSTED,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT2020,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT2020_CONSTANT_LUMINANCE,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_BT470M,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_FILM,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_DCI_P3,
        aidl::android::hardware::graphics::common::Dataspace::STANDARD_ADOBE_RGB,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_SHIFT,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_MASK,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_UNSPECIFIED,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_LINEAR,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_SRGB,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_SMPTE_170M,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_GAMMA2_2,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_GAMMA2_6,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_GAMMA2_8,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_ST2084,
        aidl::android::hardware::graphics::common::Dataspace::TRANSFER_HLG,
        aidl::android::hardware::graphics::common::Dataspace::RANGE_SHIFT,
        aidl::android::hardware::graphics::common::Dataspace::RANGE_MASK,
        aidl::android::hardware::graphics::common::Dataspace::RANGE_UNSPECIFIED,
        aidl::android::hardware::graphics::common::Dataspace::RANGE_FULL,
        aidl::android::hardware::graphics::common::Dataspace::RANGE_LIMITED,
        aidl::android::hardware::graphics::common::Dataspace::RANGE_EXTENDED,
        aidl::android::hardware::graphics::common::Dataspace::SRGB_LINEAR,
        aidl::android::hardware::graphics::common::Dataspace::SCRGB_LINEAR,
        aidl::android::hardware::graphics::common::Dataspace::SRGB,
        aidl::android::hardware::graphics::common::Dataspace::SCRGB,
        aidl::android::hardware::graphics::common::Dataspace::JFIF,
        aidl::android::hardware::graphics::common::Dataspace::BT601_625,
        aidl::android::hardware::graphics::common::Dataspace::BT601_525,
        aidl::android::hardware::graphics::common::Dataspace::BT709,
        aidl::android::hardware::graphics::common::Dataspace::DCI_P3_LINEAR,
        aidl::android::hardware::graphics::common::Dataspace::DCI_P3,
        aidl::android::hardware::graphics::common::Dataspace::DISPLAY_P3_LINEAR,
        aidl::android::hardware::graphics::common::Dataspace::DISPLAY_P3,
        aidl::android::hardware::graphics::common::Dataspace::ADOBE_RGB,
        aidl::android::hardware::graphics::common::Dataspace::ADOBE_RGB_LINEAR,
        aidl::android::hardware::graphics::common::Dataspace::BT2020_LINEAR,
        aidl::android::hardware::graphics::common::Dataspace::BT2020,
        aidl::android::hardware::graphics::common::Dataspace::BT2020_PQ,
        aidl::android::hardware::graphics::common::Dataspace::DEPTH,
        aidl::android::hardware::graphics::common::Dataspace::SENSOR,
        aidl::android::hardware::graphics::common::Dataspace::BT2020_ITU,
        aidl::android::hardware::graphics::common::Dataspace::BT2020_ITU_PQ,
        aidl::android::hardware::graphics::common::Dataspace::BT2020_ITU_HLG,
        aidl::android::hardware::graphics::common::Dataspace::BT2020_HLG,
        aidl::android::hardware::graphics::common::Dataspace::DISPLAY_BT2020,
        aidl::android::hardware::graphics::common::Dataspace::DYNAMIC_DEPTH,
        aidl::android::hardware::graphics::common::Dataspace::JPEG_APP_SEGMENTS,
        aidl::android::hardware::graphics::common::Dataspace::HEIF,
        aidl::android::hardware::graphics::common::Dataspace::JPEG_R,
        aidl::android::hardware::graphics::common::Dataspace::BT709_FULL_RANGE,
        aidl::android::hardware::graphics::common::Dataspace::BT2020_LINEAR_EXTENDED,
};

}  // namespace internal
}  // namespace ndk
