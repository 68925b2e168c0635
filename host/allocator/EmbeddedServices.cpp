#include "host/allocator/EmbeddedServices.h"

#include "host/allocator/AllocatorService.h"

namespace zelkcam::host {

AIBinder* embeddedAidlService(const std::string& instance) {
    if (instance != AllocatorService::makeServiceName("default")) {
        return nullptr;
    }
    const ndk::SpAIBinder binder = ndk::SharedRefBase::make<AllocatorService>()->asBinder();
    AIBinder_incStrong(binder.get());
    return binder.get();
}

}  // namespace zelkcam::host
