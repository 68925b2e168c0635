// A chromaticity, in CIE 1931 coordinates.
#pragma once

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class XyColor {
  public:
    float x = 0.000000f;
    float y = 0.000000f;

    ZELKCAM_AIDL_RECORD(XyColor, x, y)
};

}  // namespace aidl::android::hardware::graphics::common
