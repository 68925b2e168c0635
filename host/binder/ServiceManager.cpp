// The service manager of this process: what was registered, and behind it the default services.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <android/binder_manager.h>

#include "host/binder/Binder.h"
#include "host/binder/DefaultServices.h"
#include "host/sphal/VendorLibrary.h"

// Who waits for an instance. Recursive, because a callback may end its own registration; who ends
// it elsewhere waits until a callback that is running is back.
struct AServiceManager_NotificationRegistration {
    const std::string instance;
    AServiceManager_onRegister onRegister;  // null once the registration has ended
    void* const cookie;
    std::recursive_mutex mutex{};

    // Gives the callback one reference, which is then its own.
    void tell(AIBinder* binder) {
        const std::lock_guard lock(mutex);
        if (onRegister != nullptr) {
            zelkcam::host::retain(binder);
            onRegister(instance.c_str(), binder, cookie);
        }
    }

    void end() {
        const std::lock_guard lock(mutex);
        onRegister = nullptr;
    }
};

namespace zelkcam::host {
namespace {

using Listener = std::shared_ptr<AServiceManager_NotificationRegistration>;

std::atomic<DefaultAidlServices> gDefaultServices{nullptr};

AIBinder* findDefault(const std::string& instance) {
    const DefaultAidlServices find = gDefaultServices;
    return find != nullptr ? find(instance) : nullptr;
}

class ServiceManager {
  public:
    static ServiceManager& get() {
        // Never destroyed: services are asked for while exit handlers run.
        static auto& manager = *new ServiceManager;
        return manager;
    }

    void add(const std::string& instance, AIBinder* binder) {
        retain(binder);
        AIBinder* replaced = nullptr;
        std::vector<Listener> listeners;
        {
            const std::lock_guard lock(mMutex);
            replaced = std::exchange(mRegistered[instance], binder);
            listeners = mListeners;
        }
        mAdded.notify_all();
        if (replaced != nullptr) {
            release(replaced);
        }
        for (const Listener& listener : listeners) {
            if (listener->instance == instance) {
                listener->tell(binder);
            }
        }
    }

    void listen(const Listener& listener) {
        AIBinder* binder = nullptr;
        {
            const std::lock_guard lock(mMutex);
            mListeners.push_back(listener);
            binder = registeredLocked(listener->instance);
        }
        binder = binder != nullptr ? binder : findDefault(listener->instance);
        if (binder != nullptr) {
            listener->tell(binder);
            release(binder);
        }
    }

    void forget(AServiceManager_NotificationRegistration* registration) {
        registration->end();
        Listener forgotten;  // released when no lock is held
        const std::lock_guard lock(mMutex);
        const auto found = std::ranges::find_if(
                mListeners, [&](const Listener& each) { return each.get() == registration; });
        if (found != mListeners.end()) {
            forgotten = std::move(*found);
            mListeners.erase(found);
        }
    }

    // The service with one strong reference for the caller, or null.
    AIBinder* check(const std::string& instance) {
        AIBinder* binder = nullptr;
        {
            const std::lock_guard lock(mMutex);
            binder = registeredLocked(instance);
        }
        return binder != nullptr ? binder : findDefault(instance);
    }

    AIBinder* wait(const std::string& instance) {
        AIBinder* binder = check(instance);
        if (binder != nullptr) {
            return binder;
        }
        std::unique_lock lock(mMutex);
        mAdded.wait(lock, [&] { return mRegistered.count(instance) != 0; });
        binder = mRegistered[instance];
        retain(binder);
        return binder;
    }

    bool has(const std::string& instance) {
        AIBinder* binder = check(instance);
        if (binder != nullptr) {
            release(binder);
        }
        return binder != nullptr;
    }

    std::set<std::string> instances(const std::string& interface) {
        const std::string prefix = interface + "/";
        std::set<std::string> names;
        if (has(prefix + "default")) {
            names.insert("default");
        }
        const std::lock_guard lock(mMutex);
        for (const auto& [instance, binder] : mRegistered) {
            if (instance.compare(0, prefix.size(), prefix) == 0) {
                names.insert(instance.substr(prefix.size()));
            }
        }
        return names;
    }

  private:
    AIBinder* registeredLocked(const std::string& instance) {
        const auto found = mRegistered.find(instance);
        if (found == mRegistered.end()) {
            return nullptr;
        }
        retain(found->second);
        return found->second;
    }

    std::mutex mMutex;
    std::condition_variable mAdded;
    std::map<std::string, AIBinder*> mRegistered;  // owns one strong reference of each
    std::vector<Listener> mListeners;
};

// How long, and how often, AServiceManager_getService asks.
constexpr std::chrono::seconds kGetLimit{5};
constexpr std::chrono::milliseconds kGetInterval{100};

binder_exception_t add(AIBinder* binder, const char* instance) {
    if (binder == nullptr || instance == nullptr) {
        return EX_ILLEGAL_ARGUMENT;
    }
    ServiceManager::get().add(instance, binder);
    return EX_NONE;
}

}  // namespace

void setDefaultAidlServices(DefaultAidlServices find) {
    gDefaultServices = find;
}

}  // namespace zelkcam::host

using namespace zelkcam::host;

binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    return add(binder, instance);
}

binder_exception_t AServiceManager_addServiceWithFlags(
        AIBinder* binder, const char* instance, const AServiceManager_AddServiceFlag /*flags*/) {
    return add(binder, instance);
}

binder_status_t AServiceManager_registerLazyService(AIBinder* binder, const char* instance) {
    return add(binder, instance) == EX_NONE ? STATUS_OK : STATUS_UNEXPECTED_NULL;
}

void AServiceManager_forceLazyServicesPersist(bool /*persist*/) {}

void AServiceManager_setActiveServicesCallback(bool (* /*callback*/)(bool, void*),
                                               void* /*context*/) {}

bool AServiceManager_tryUnregister() {
    return false;
}

void AServiceManager_reRegister() {}

AIBinder* AServiceManager_checkService(const char* instance) {
    return instance == nullptr ? nullptr : ServiceManager::get().check(instance);
}

AIBinder* AServiceManager_getService(const char* instance) {
    if (instance == nullptr) {
        return nullptr;
    }
    const auto limit = std::chrono::steady_clock::now() + kGetLimit;
    AIBinder* binder = ServiceManager::get().check(instance);
    while (binder == nullptr && std::chrono::steady_clock::now() < limit) {
        std::this_thread::sleep_for(kGetInterval);
        binder = ServiceManager::get().check(instance);
    }
    return binder;
}

AIBinder* AServiceManager_waitForService(const char* instance) {
    return instance == nullptr ? nullptr : ServiceManager::get().wait(instance);
}

AServiceManager_NotificationRegistration* AServiceManager_registerForServiceNotifications(
        const char* instance, AServiceManager_onRegister onRegister, void* cookie) {
    const Listener listener(new AServiceManager_NotificationRegistration{
            required(instance, "instance"), required(onRegister, "callback"), cookie});
    ServiceManager::get().listen(listener);
    return listener.get();
}

void AServiceManager_NotificationRegistration_delete(
        AServiceManager_NotificationRegistration* notification) {
    ServiceManager::get().forget(required(notification, "registration"));
}

bool AServiceManager_isDeclared(const char* instance) {
    return instance != nullptr && ServiceManager::get().has(instance);
}

void AServiceManager_forEachDeclaredInstance(const char* interface, void* context,
                                             void (*callback)(const char*, void*)) {
    required(callback, "callback");
    for (const std::string& instance :
         ServiceManager::get().instances(required(interface, "interface"))) {
        callback(instance.c_str(), context);
    }
}

bool AServiceManager_isUpdatableViaApex(const char* /*instance*/) {
    return false;
}

void AServiceManager_getUpdatableApexName(const char* instance, void* /*context*/,
                                          void (*callback)(const char*, void*)) {
    required(instance, "instance");
    required(callback, "callback");
}

void* AServiceManager_openDeclaredPassthroughHal(const char* interface, const char* instance,
                                                 int flag) {
    const std::string name = std::string(required(interface, "interface")) + "." +
                             required(instance, "instance") + ".so";
    return openVendorLibrary(name, flag).handle;
}
