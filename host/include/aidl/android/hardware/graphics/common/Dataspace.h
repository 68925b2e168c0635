// How the numbers of a buffer mean colours: bits 16-21 the standard, 22-26 the transfer, 27-29 the
// range.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_DATASPACE(ROW)                  \
    ROW(UNKNOWN, 0)                                  \
    ROW(ARBITRARY, 1)                                \
    ROW(STANDARD_SHIFT, 16)                          \
    ROW(STANDARD_MASK, 63 << 16)                     \
    ROW(STANDARD_UNSPECIFIED, 0)                     \
    ROW(STANDARD_BT709, 1 << 16)                     \
    ROW(STANDARD_BT601_625, 2 << 16)                 \
    ROW(STANDARD_BT601_625_UNADJUSTED, 3 << 16)      \
    ROW(STANDARD_BT601_525, 4 << 16)                 \
    ROW(STANDARD_BT601_525_UNADJUSTED, 5 << 16)      \
    ROW(STANDARD_BT2020, 6 << 16)                    \
    ROW(STANDARD_BT2020_CONSTANT_LUMINANCE, 7 << 16) \
    ROW(STANDARD_BT470M, 8 << 16)                    \
    ROW(STANDARD_FILM, 9 << 16)                      \
    ROW(STANDARD_DCI_P3, 10 << 16)                   \
    ROW(STANDARD_ADOBE_RGB, 11 << 16)                \
    ROW(TRANSFER_SHIFT, 22)                          \
    ROW(TRANSFER_MASK, 31 << 22)                     \
    ROW(TRANSFER_UNSPECIFIED, 0)                     \
    ROW(TRANSFER_LINEAR, 1 << 22)                    \
    ROW(TRANSFER_SRGB, 2 << 22)                      \
    ROW(TRANSFER_SMPTE_170M, 3 << 22)                \
    ROW(TRANSFER_GAMMA2_2, 4 << 22)                  \
    ROW(TRANSFER_GAMMA2_6, 5 << 22)                  \
    ROW(TRANSFER_GAMMA2_8, 6 << 22)                  \
    ROW(TRANSFER_ST2084, 7 << 22)                    \
    ROW(TRANSFER_HLG, 8 << 22)                       \
    ROW(RANGE_SHIFT, 27)                             \
    ROW(RANGE_MASK, 7 << 27)                         \
    ROW(RANGE_UNSPECIFIED, 0)                        \
    ROW(RANGE_FULL, 1 << 27)                         \
    ROW(RANGE_LIMITED, 2 << 27)                      \
    ROW(RANGE_EXTENDED, 3 << 27)                     \
    ROW(SRGB_LINEAR, 0x8410000)                      \
    ROW(SCRGB_LINEAR, 0x18410000)                    \
    ROW(SRGB, 0x8810000)                             \
    ROW(SCRGB, 0x18810000)                           \
    ROW(JFIF, 0x8C20000)                             \
    ROW(BT601_625, 0x10C20000)                       \
    ROW(BT601_525, 0x10C40000)                       \
    ROW(BT709, 0x10C10000)                           \
    ROW(DCI_P3_LINEAR, 0x84A0000)                    \
    ROW(DCI_P3, 0x94A0000)                           \
    ROW(DISPLAY_P3_LINEAR, 0x84A0000)                \
    ROW(DISPLAY_P3, 0x88A0000)                       \
    ROW(ADOBE_RGB, 0x90B0000)                        \
    ROW(ADOBE_RGB_LINEAR, 0x84B0000)                 \
    ROW(BT2020_LINEAR, 0x8460000)                    \
    ROW(BT2020, 0x8C60000)                           \
    ROW(BT2020_PQ, 0x9C60000)                        \
    ROW(BT2020_LINEAR_EXTENDED, 0x18460000)          \
    ROW(DEPTH, 0x1000)                               \
    ROW(SENSOR, 0x1001)                              \
    ROW(BT2020_ITU, 0x10C60000)                      \
    ROW(BT2020_ITU_PQ, 0x11C60000)                   \
    ROW(BT2020_ITU_HLG, 0x12060000)                  \
    ROW(BT2020_HLG, 0xA060000)                       \
    ROW(DISPLAY_BT2020, 0x8860000)                   \
    ROW(DYNAMIC_DEPTH, 0x1002)                       \
    ROW(JPEG_APP_SEGMENTS, 0x1003)                   \
    ROW(HEIF, 0x1004)                                \
    ROW(JPEG_R, 0x1005)                              \
    ROW(BT709_FULL_RANGE, 0x8C10000)

enum class Dataspace : int32_t { ZELKCAM_AIDL_DATASPACE(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(Dataspace, ZELKCAM_AIDL_DATASPACE)
#undef ZELKCAM_AIDL_DATASPACE

}  // namespace aidl::android::hardware::graphics::common
