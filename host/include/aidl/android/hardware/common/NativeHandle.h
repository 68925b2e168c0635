// A handle as it crosses a binder. It owns its descriptors.
#pragma once

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::common {

class NativeHandle {
  public:
    std::vector<::ndk::ScopedFileDescriptor> fds;
    std::vector<int32_t> ints;

    ZELKCAM_AIDL_RECORD(NativeHandle, fds, ints)
};

}  // namespace aidl::android::hardware::common
