// The HIDL services of this process by interface and name.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlSupport.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace zelkcam::host {

using HidlObject = android::sp<android::hidl::base::V1_0::IBase>;

// Whether the object's interface chain holds the interface. Null holds none, anything else IBase.
// A call of the chain that does not come through is the returned status.
android::hardware::Return<bool> hidlImplements(android::hidl::base::V1_0::IBase* object,
                                               const char* descriptor);

// Answers a new object of the default service of an interface and name, or null. Is asked from any
// thread, until it has answered an object or one was registered.
using DefaultHidlServices = HidlObject (*)(const std::string& descriptor, const std::string& name);

// What answers when nobody registered a service. Null, as at first, stands for no defaults.
void setDefaultHidlServices(DefaultHidlServices make);

// Thread-safe. No lock is held while a service, a default or a notification runs or is destroyed,
// so all of them may call back.
class ServiceRegistry {
  public:
    // The process's one registry. It is never destroyed: services may be used until the very end.
    static ServiceRegistry& instance();

    // What was registered; else the default, which is remembered; else null.
    HidlObject find(const std::string& descriptor, const std::string& name);

    // Registers the object under every interface of its chain, in place of earlier ones.
    // UNKNOWN_ERROR for an empty name and for an object that does not answer its chain.
    android::status_t add(const std::string& name, const HidlObject& service);

    // Calls back for every service of the interface that has the name, or any name if it is empty:
    // at once for what is there, and whenever one is registered. Keeps the notification for good.
    // False for null.
    bool listen(
            const std::string& descriptor, const std::string& name,
            const android::sp<android::hidl::manager::V1_0::IServiceNotification>& notification);

    // The names that find would find of an interface, among the registered ones and "default".
    std::vector<std::string> names(const std::string& descriptor);

  private:
    using Key = std::pair<std::string, std::string>;  // descriptor, name
    using Listener =
            std::pair<Key, android::sp<android::hidl::manager::V1_0::IServiceNotification>>;

    HidlObject findDefault(const Key& key);
    static void tell(const std::vector<Listener>& listeners, const std::string& descriptor,
                     const std::string& name, bool preexisting);

    std::mutex mMutex;
    std::map<Key, HidlObject> mServices;
    std::vector<Listener> mListeners;
};

}  // namespace zelkcam::host
