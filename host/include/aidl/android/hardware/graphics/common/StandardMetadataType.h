// The standard metadata of a buffer; each value is the index of its enumerator.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_STANDARD_METADATA_TYPE(ROW) \
    ROW(INVALID, 0)                              \
    ROW(BUFFER_ID, 1)                            \
    ROW(NAME, 2)                                 \
    ROW(WIDTH, 3)                                \
    ROW(HEIGHT, 4)                               \
    ROW(LAYER_COUNT, 5)                          \
    ROW(PIXEL_FORMAT_REQUESTED, 6)               \
    ROW(PIXEL_FORMAT_FOURCC, 7)                  \
    ROW(PIXEL_FORMAT_MODIFIER, 8)                \
    ROW(USAGE, 9)                                \
    ROW(ALLOCATION_SIZE, 10)                     \
    ROW(PROTECTED_CONTENT, 11)                   \
    ROW(COMPRESSION, 12)                         \
    ROW(INTERLACED, 13)                          \
    ROW(CHROMA_SITING, 14)                       \
    ROW(PLANE_LAYOUTS, 15)                       \
    ROW(CROP, 16)                                \
    ROW(DATASPACE, 17)                           \
    ROW(BLEND_MODE, 18)                          \
    ROW(SMPTE2086, 19)                           \
    ROW(CTA861_3, 20)                            \
    ROW(SMPTE2094_40, 21)                        \
    ROW(SMPTE2094_10, 22)                        \
    ROW(STRIDE, 23)

enum class StandardMetadataType : int64_t {
    ZELKCAM_AIDL_STANDARD_METADATA_TYPE(ZELKCAM_ENUMERATOR)
};
ZELKCAM_AIDL_ENUM(StandardMetadataType, ZELKCAM_AIDL_STANDARD_METADATA_TYPE)
#undef ZELKCAM_AIDL_STANDARD_METADATA_TYPE

}  // namespace aidl::android::hardware::graphics::common
