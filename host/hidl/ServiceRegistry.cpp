#include "host/hidl/ServiceRegistry.h"

#include <atomic>

namespace zelkcam::host {

namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hidl::base::V1_0::IBase;

std::atomic<DefaultHidlServices> gDefaults{nullptr};

// Empty when the object cannot tell.
std::vector<std::string> interfacesOf(const HidlObject& object) {
    std::vector<std::string> interfaces;
    const Return<void> told = object->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
        interfaces.assign(chain.begin(), chain.end());
    });
    return told.isOk() ? interfaces : std::vector<std::string>();
}

struct Announcement {
    HidlNotification notification;
    std::string descriptor;
    std::string name;
};

// A notification whose process is gone cannot be told, and that concerns nobody here.
void announce(const std::vector<Announcement>& announcements, bool preexisting) {
    for (const Announcement& each : announcements) {
        each.notification->onRegistration(each.descriptor, each.name, preexisting).isOk();
    }
}

}  // namespace

Return<bool> hidlImplements(const HidlObject& object, const char* descriptor) {
    if (object == nullptr) {
        return false;
    }
    const std::string wanted = descriptor;
    if (wanted == IBase::descriptor) {
        return true;
    }
    bool found = false;
    Return<void> told = object->interfaceChain(
            [&](const hidl_vec<hidl_string>& chain) { found = chain.contains(wanted); });
    if (!told.isOk()) {
        return android::hardware::details::StatusOf<void, bool>(told);
    }
    return found;
}

void setDefaultHidlServices(DefaultHidlServices make) {
    gDefaults = make;
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
    const DefaultHidlServices make = gDefaults;
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
    std::vector<Announcement> announcements;
    {
        const std::lock_guard lock(mMutex);
        for (const std::string& descriptor : interfaces) {
            const Key key(descriptor, name);
            mServices[key] = service;
            for (const Watch& watch : mWatches) {
                if (watch.wants(key)) {
                    announcements.push_back({watch.notification, descriptor, name});
                }
            }
        }
    }
    announce(announcements, false);
    return android::OK;
}

bool ServiceRegistry::watch(const std::string& descriptor, const std::string& name,
                            const HidlNotification& notification) {
    if (notification == nullptr) {
        return false;
    }
    find(descriptor, name);  // a default is there already, even if nobody asked for it
    const Watch watch{Key(descriptor, name), notification};
    std::vector<Announcement> announcements;
    {
        const std::lock_guard lock(mMutex);
        for (const auto& [key, service] : mServices) {
            if (watch.wants(key)) {
                announcements.push_back({notification, key.first, key.second});
            }
        }
        mWatches.push_back(watch);
    }
    announce(announcements, true);
    return true;
}

bool ServiceRegistry::Watch::wants(const Key& service) const {
    return key.first == service.first && (key.second.empty() || key.second == service.second);
}

}  // namespace zelkcam::host
