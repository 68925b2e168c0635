#include "host/hidl/ServiceRegistry.h"

#include <atomic>

namespace zelkcam::host {

namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hidl::base::V1_0::IBase;
using android::hidl::manager::V1_0::IServiceNotification;

std::atomic<DefaultHidlServices> gDefaultHidlServices{nullptr};

// Empty when the object does not answer.
std::vector<std::string> interfacesOf(const HidlObject& object) {
    std::vector<std::string> interfaces;
    const Return<void> answer = object->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
        interfaces.assign(chain.begin(), chain.end());
    });
    return answer.isOk() ? interfaces : std::vector<std::string>();
}

}  // namespace

Return<bool> hidlImplements(IBase* object, const char* descriptor) {
    if (object == nullptr) {
        return false;
    }
    const std::string wanted = descriptor;
    if (wanted == IBase::descriptor) {
        return true;
    }
    bool found = false;
    Return<void> answer = object->interfaceChain(
            [&](const hidl_vec<hidl_string>& chain) { found = chain.contains(wanted); });
    if (!answer.isOk()) {
        return android::hardware::details::StatusOf<void, bool>(answer);
    }
    return found;
}

void setDefaultHidlServices(DefaultHidlServices make) {
    gDefaultHidlServices = make;
}

ServiceRegistry& ServiceRegistry::instance() {
    static auto* const registry = new ServiceRegistry;
    return *registry;
}

HidlObject ServiceRegistry::find(const std::string& descriptor, const std::string& name) {
    const Key key(descriptor, name);
    {
        const std::lock_guard lock(mMutex);
        const auto found = mServices.find(key);
        if (found != mServices.end()) {
            return found->second;
        }
    }
    return findDefault(key);
}

// Of threads that ask at once each may make one; the first to arrive here is everybody's.
HidlObject ServiceRegistry::findDefault(const Key& key) {
    const DefaultHidlServices make = gDefaultHidlServices;
    const HidlObject made = make != nullptr ? make(key.first, key.second) : nullptr;
    if (made == nullptr) {
        return nullptr;
    }
    const std::lock_guard lock(mMutex);
    return mServices.emplace(key, made).first->second;
}

android::status_t ServiceRegistry::add(const std::string& name, const HidlObject& service) {
    const std::vector<std::string> interfaces = interfacesOf(service);
    if (name.empty() || interfaces.empty()) {
        return android::UNKNOWN_ERROR;
    }
    // What is replaced is released when no lock is held: its destructor may ask the registry.
    std::vector<HidlObject> replaced;
    replaced.reserve(interfaces.size());
    std::vector<Listener> listeners;
    {
        const std::lock_guard lock(mMutex);
        for (const std::string& descriptor : interfaces) {
            replaced.push_back(std::exchange(mServices[Key(descriptor, name)], service));
        }
        listeners = mListeners;
    }
    for (const std::string& descriptor : interfaces) {
        tell(listeners, descriptor, name, false);
    }
    return android::OK;
}

bool ServiceRegistry::listen(const std::string& descriptor, const std::string& name,
                             const android::sp<IServiceNotification>& notification) {
    if (notification == nullptr) {
        return false;
    }
    const Listener listener{Key(descriptor, name), notification};
    {
        const std::lock_guard lock(mMutex);
        mListeners.push_back(listener);
    }
    for (const std::string& present : names(descriptor)) {
        tell({listener}, descriptor, present, true);
    }
    return true;
}

void ServiceRegistry::tell(const std::vector<Listener>& listeners, const std::string& descriptor,
                           const std::string& name, bool preexisting) {
    for (const auto& [wanted, notification] : listeners) {
        if (wanted.first == descriptor && (wanted.second.empty() || wanted.second == name)) {
            // A listener that does not answer misses this one.
            notification->onRegistration(descriptor, name, preexisting).isOk();
        }
    }
}

std::vector<std::string> ServiceRegistry::names(const std::string& descriptor) {
    find(descriptor, "default");  // from now on among the services
    std::vector<std::string> names;
    const std::lock_guard lock(mMutex);
    for (auto it = mServices.lower_bound({descriptor, ""});
         it != mServices.end() && it->first.first == descriptor; ++it) {
        names.push_back(it->first.second);
    }
    return names;
}

}  // namespace zelkcam::host
