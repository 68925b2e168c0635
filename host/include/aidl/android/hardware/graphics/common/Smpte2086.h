// The colour volume of the display on which the content was mastered.
#pragma once

#include <aidl/android/hardware/graphics/common/XyColor.h>

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class Smpte2086 {
  public:
    XyColor primaryRed;
    XyColor primaryGreen;
    XyColor primaryBlue;
    XyColor whitePoint;
    // In candela per square metre.
    float maxLuminance = 0.000000f;
    float minLuminance = 0.000000f;

    ZELKCAM_AIDL_RECORD(Smpte2086, primaryRed, primaryGreen, primaryBlue, whitePoint, maxLuminance,
                        minLuminance)
};

}  // namespace aidl::android::hardware::graphics::common
