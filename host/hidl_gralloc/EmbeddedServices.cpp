#include "host/hidl_gralloc/EmbeddedServices.h"

#include "host/hidl_gralloc/HidlAllocatorService.h"
#include "host/hidl_gralloc/MapperService.h"

namespace zelkcam::host {

android::sp<android::hidl::base::V1_0::IBase> embeddedHidlService(const std::string& descriptor,
                                                                  const std::string& instance) {
    if (instance != "default") {
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

}  // namespace zelkcam::host
