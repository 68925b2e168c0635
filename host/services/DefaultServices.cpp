// The one place that knows which services the host platform brings along. It registers them with
// the service managers as the library is loaded, so before any client can ask.
#include "host/binder/DefaultServices.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include "host/allocator/AllocatorService.h"
#include "host/binder/Binder.h"
#include "host/gralloc/Device.h"
#include "host/hidl/ServiceRegistry.h"
#include "host/hidl_gralloc/HidlAllocatorService.h"
#include "host/hidl_gralloc/MapperService.h"
#include "host/properties/Environment.h"

namespace zelkcam::host {
namespace {

constexpr char kServicesVariable[] = "ZELKCAM_HOST_SERVICES";

std::string_view choice() {
    const char* text = std::getenv(kServicesVariable);
    return text != nullptr ? text : "";
}

// Looked at afresh every time, so a program may switch the defaults off before it first asks.
bool areDefaultsWanted() {
    return choice() != "none";
}

AIBinder* findAidlDefault(const std::string& instance) {
    if (!areDefaultsWanted() || instance != AllocatorService::makeServiceName("default") ||
        !gralloc::haveDevice()) {
        return nullptr;
    }
    // Never destroyed: services are asked for while exit handlers run.
    static const auto& binder =
            *new ndk::SpAIBinder(ndk::SharedRefBase::make<AllocatorService>()->asBinder());
    retain(binder.get());
    return binder.get();
}

HidlObject makeHidlDefault(const std::string& descriptor, const std::string& name) {
    if (!areDefaultsWanted() || name != "default" || !gralloc::haveDevice()) {
        return nullptr;
    }
    if (descriptor == MapperService::descriptor) {
        return new MapperService;
    }
    if (descriptor == HidlAllocatorService::descriptor) {
        return new HidlAllocatorService;
    }
    return nullptr;
}

__attribute__((constructor)) void registerDefaults() {
    if (!choice().empty() && areDefaultsWanted()) {
        reportVariable(kServicesVariable, choice().data(), "is ignored; the only choice is none");
    }
    setDefaultAidlServices(findAidlDefault);
    setDefaultHidlServices(makeHidlDefault);
}

}  // namespace
}  // namespace zelkcam::host
