#include "host/hidl/ServiceRegistry.h"

#include <stdlib.h>

#include "host/hidl_gralloc/EmbeddedServices.h"

namespace zelkcam::host {

namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hidl::base::V1_0::IBase;

bool embeddedServicesWanted() {
    const char* services = getenv("ZELKCAM_HOST_SERVICES");
    return services == nullptr || std::string(services) != "none";
}

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
    return embedded(key);
}

// Of threads that ask at once each may make one; the first to arrive here is everybody's.
HidlObject ServiceRegistry::embedded(const Key& key) {
    if (!embeddedServicesWanted()) {
        return nullptr;
    }
    const HidlObject made = embeddedHidlService(key.first, key.second);
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
    find(descriptor, name);  // an embedded default is there already, even if nobody asked for it
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
