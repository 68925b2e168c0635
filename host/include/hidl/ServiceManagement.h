// The HIDL services of this process by interface and name. Functions are thread-safe.
#pragma once

#include <string>
#include <vector>

#include <android/hidl/base/1.0/IBase.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace android::hardware {

// True: services can be registered and found.
bool isHidlSupported();

// The names under which that interface was registered, and "default" where a default answers.
std::vector<std::string> getAllHalInstanceNames(const std::string& descriptor);

namespace details {

// The service, or null at once: the host platform declares no service that it does not have.
sp<::android::hidl::base::V1_0::IBase> getRawServiceInternal(const std::string& descriptor,
                                                             const std::string& instance,
                                                             bool retry, bool getStub);

// UNEXPECTED_NULL for null, UNKNOWN_ERROR when it is refused.
status_t registerAsServiceInternal(const sp<::android::hidl::base::V1_0::IBase>& service,
                                   const std::string& name);

// Returns at once.
void waitForHwService(const std::string& interface, const std::string& instanceName);

// Nothing here depends on what the device declares, and no library is loaded for a service.
void setTrebleTestingOverride(bool testingOverride);
void preloadPassthroughService(const std::string& descriptor);

}  // namespace details

template <typename I>
static inline void preloadPassthroughService() {
    details::preloadPassthroughService(I::descriptor);
}

}  // namespace android::hardware
