// The HIDL services that the host platform brings along.
#pragma once

#include <string>

#include <android/hidl/base/1.0/IBase.h>
#include <utils/StrongPointer.h>

namespace zelkcam::host {

// A new object of the service of that interface descriptor and instance name, or null when the host
// platform has none. Thread-safe; the caller remembers what it got.
android::sp<android::hidl::base::V1_0::IBase> embeddedHidlService(const std::string& descriptor,
                                                                  const std::string& instance);

}  // namespace zelkcam::host
