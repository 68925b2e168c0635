// What is left of serving HIDL calls where every call runs in its caller's thread.
#include <sched.h>
#include <stdlib.h>

#include <atomic>
#include <map>
#include <mutex>

#include <hidl/LegacySupport.h>

#include "host/binder/Threads.h"
#include "host/hidl/ServiceRegistry.h"

namespace android::hardware {

using ::android::hidl::base::V1_0::IBase;
using zelkcam::host::ServiceRegistry;

namespace {

std::atomic<bool> isConfigured{false};

// What was set for a service that no other process calls.
struct Wishes {
    SchedPrio priority{0, 0};
    bool requestsSid = false;
};

// By weak pointer, so that an object at the address of a dead one starts afresh.
class WishList {
  public:
    static WishList& instance() {
        static auto& list = *new WishList;
        return list;
    }

    template <typename Use>
    auto use(const sp<IBase>& service, Use&& use) {
        const std::lock_guard lock(mMutex);
        return use(mWishes[service]);
    }

  private:
    std::mutex mMutex;
    std::map<wp<IBase>, Wishes> mWishes;
};

bool isLocal(const sp<IBase>& service) {
    return service != nullptr && !service->isRemote();
}

}  // namespace

void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin) {
    if (maxThreads == 0 && callerWillJoin) {
        details::logAlwaysFatal("a thread pool that the caller joins has at least one thread");
    }
    isConfigured = true;
}

void joinRpcThreadpool() {
    if (!isConfigured) {
        details::logAlwaysFatal("joinRpcThreadpool without configureRpcThreadpool");
    }
    zelkcam::host::blockForEver();
}

int setupTransportPolling() {
    return -1;
}

status_t handleTransportPoll(int /*fd*/) {
    return NO_ERROR;
}

bool setMinSchedulerPolicy(const sp<IBase>& service, int policy, int priority) {
    const bool isNormal = policy == SCHED_OTHER && priority >= -20 && priority <= 19;
    const bool isRealTime =
            (policy == SCHED_FIFO || policy == SCHED_RR) && priority >= 1 && priority <= 99;
    if (!isLocal(service) || (!isNormal && !isRealTime)) {
        return false;
    }
    WishList::instance().use(service, [&](Wishes& wishes) {
        wishes.priority = {policy, priority};
    });
    return true;
}

SchedPrio getMinSchedulerPolicy(const sp<IBase>& service) {
    return WishList::instance().use(service, [](const Wishes& wishes) { return wishes.priority; });
}

bool setRequestingSid(const sp<IBase>& service, bool requesting) {
    if (!isLocal(service)) {
        return false;
    }
    WishList::instance().use(service, [&](Wishes& wishes) { wishes.requestsSid = requesting; });
    return true;
}

bool getRequestingSid(const sp<IBase>& service) {
    return WishList::instance().use(service,
                                    [](const Wishes& wishes) { return wishes.requestsSid; });
}

bool interfacesEqual(const sp<IBase>& left, const sp<IBase>& right) {
    return left == right;
}

bool isHidlSupported() {
    return true;
}

std::vector<std::string> getAllHalInstanceNames(const std::string& descriptor) {
    return ServiceRegistry::instance().names(descriptor);
}

namespace details {

int32_t getPidIfSharable() {
    return -1;
}

Return<bool> canCastInterface(IBase* object, const char* castTo, bool emitError) {
    Return<bool> implements = zelkcam::host::hidlImplements(object, castTo);
    return implements.isOk() || emitError ? std::move(implements) : Return<bool>(false);
}

std::string getDescriptor(IBase* object) {
    std::string descriptor;
    if (object != nullptr) {
        object->interfaceDescriptor([&](const hidl_string& text) { descriptor = text; }).isOk();
    }
    return descriptor;
}

sp<IBase> getRawServiceInternal(const std::string& descriptor, const std::string& instance,
                                bool /*retry*/, bool /*getStub*/) {
    return ServiceRegistry::instance().find(descriptor, instance);
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    return service == nullptr ? UNEXPECTED_NULL : ServiceRegistry::instance().add(name, service);
}

void waitForHwService(const std::string& /*interface*/, const std::string& /*instanceName*/) {}

void setTrebleTestingOverride(bool /*testingOverride*/) {}

void preloadPassthroughService(const std::string& /*descriptor*/) {}

}  // namespace details

LazyServiceRegistrar& LazyServiceRegistrar::getInstance() {
    static LazyServiceRegistrar registrar;
    return registrar;
}

status_t LazyServiceRegistrar::registerService(const sp<IBase>& service, const std::string& name) {
    return details::registerAsServiceInternal(service, name);
}

void LazyServiceRegistrar::setActiveServicesCallback(const std::function<bool(bool)>&) {}

bool LazyServiceRegistrar::tryUnregister() {
    return false;
}

void LazyServiceRegistrar::reRegister() {}

status_t registerPassthroughServiceImplementation(const std::string& /*interfaceName*/,
                                                  const std::string& /*expectInterfaceName*/,
                                                  const std::string& /*serviceName*/) {
    return EXIT_FAILURE;
}

status_t registerLazyPassthroughServiceImplementation(const std::string& /*interfaceName*/,
                                                      const std::string& /*expectInterfaceName*/,
                                                      const std::string& /*serviceName*/) {
    return EXIT_FAILURE;
}

}  // namespace android::hardware
