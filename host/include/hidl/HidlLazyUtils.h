// Services that are started when they are needed. The host platform never ends one: a lazy
// registration is a plain one.
#pragma once

#include <functional>
#include <string>

#include <android/hidl/base/1.0/IBase.h>
#include <utils/Errors.h>

namespace android::hardware {

class LazyServiceRegistrar {
  public:
    static LazyServiceRegistrar& getInstance();

    status_t registerService(const sp<::android::hidl::base::V1_0::IBase>& service,
                             const std::string& name = "default");
    // Never called: the services are always wanted.
    void setActiveServicesCallback(const std::function<bool(bool)>& activeServicesCallback);
    // False: not supported.
    bool tryUnregister();
    void reRegister();

  private:
    LazyServiceRegistrar() = default;
};

}  // namespace android::hardware
