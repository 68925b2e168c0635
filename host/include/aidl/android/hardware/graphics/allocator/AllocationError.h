// Why an allocation failed. Note that the first code is 0 and a failure all the same.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::allocator {

#define ZELKCAM_AIDL_ALLOCATION_ERROR(ROW) \
    ROW(BAD_DESCRIPTOR, 0)                 \
    ROW(NO_RESOURCES, 1)                   \
    ROW(UNSUPPORTED, 2)

enum class AllocationError : int32_t { ZELKCAM_AIDL_ALLOCATION_ERROR(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(AllocationError, ZELKCAM_AIDL_ALLOCATION_ERROR)
#undef ZELKCAM_AIDL_ALLOCATION_ERROR

}  // namespace aidl::android::hardware::graphics::allocator
