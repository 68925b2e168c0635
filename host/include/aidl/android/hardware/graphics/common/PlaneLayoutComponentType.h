// What a component of a plane holds. The values are not meant to be combined.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_PLANE_LAYOUT_COMPONENT_TYPE(ROW) \
    ROW(Y, 1)                                         \
    ROW(CB, 2)                                        \
    ROW(CR, 4)                                        \
    ROW(R, 1024)                                      \
    ROW(G, 2048)                                      \
    ROW(B, 4096)                                      \
    ROW(RAW, 1048576)                                 \
    ROW(A, 1073741824)

enum class PlaneLayoutComponentType : int64_t {
    ZELKCAM_AIDL_PLANE_LAYOUT_COMPONENT_TYPE(ZELKCAM_ENUMERATOR)
};
ZELKCAM_AIDL_ENUM(PlaneLayoutComponentType, ZELKCAM_AIDL_PLANE_LAYOUT_COMPONENT_TYPE)
#undef ZELKCAM_AIDL_PLANE_LAYOUT_COMPONENT_TYPE

}  // namespace aidl::android::hardware::graphics::common
