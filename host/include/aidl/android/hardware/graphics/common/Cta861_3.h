// The light level of the content.
#pragma once

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class Cta861_3 {
  public:
    // In candela per square metre.
    float maxContentLightLevel = 0.000000f;
    float maxFrameAverageLightLevel = 0.000000f;

    ZELKCAM_AIDL_RECORD(Cta861_3, maxContentLightLevel, maxFrameAverageLightLevel)
};

}  // namespace aidl::android::hardware::graphics::common
