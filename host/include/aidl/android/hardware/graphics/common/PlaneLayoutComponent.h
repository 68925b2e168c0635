// One component of a plane.
#pragma once

#include <aidl/android/hardware/graphics/common/ExtendableType.h>

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class PlaneLayoutComponent {
  public:
    ExtendableType type;
    // From the start of the plane; -1 when it cannot be stated.
    int64_t offsetInBits = 0L;
    // Of one sample; -1 when it cannot be stated.
    int64_t sizeInBits = 0L;

    ZELKCAM_AIDL_RECORD(PlaneLayoutComponent, type, offsetInBits, sizeInBits)
};

}  // namespace aidl::android::hardware::graphics::common
