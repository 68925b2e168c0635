// A value of an enum that device makers may extend: the name of the enum and the number in it.
#pragma once

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class ExtendableType {
  public:
    std::string name;
    int64_t value = 0L;

    ZELKCAM_AIDL_RECORD(ExtendableType, name, value)
};

}  // namespace aidl::android::hardware::graphics::common
