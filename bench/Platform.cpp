#include "bench/Platform.h"

#include <dlfcn.h>

#include <string>

#include "bench/Compare.h"

namespace zelkcam::bench {
namespace {

using aidl::android::hardware::graphics::allocator::AllocationResult;
using aidl::android::hardware::graphics::common::BufferUsage;
using aidl::android::hardware::graphics::common::PixelFormat;

const native_handle* require(const native_handle* handle) {
    if (handle == nullptr) {
        giveUp("the platform refuses a buffer");
    }
    return handle;
}

}  // namespace

std::shared_ptr<IAllocator> findAllocator() {
    const std::string name = std::string(IAllocator::descriptor) + "/default";
    return IAllocator::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
}

const AIMapperV5* loadMapper(IAllocator& allocator) {
    std::string suffix;
    if (!allocator.getIMapperLibrarySuffix(&suffix).isOk()) {
        return nullptr;
    }
    void* const library =
            android_load_sphal_library(("mapper." + suffix + ".so").c_str(), RTLD_NOW);
    if (library == nullptr) {
        return nullptr;
    }
    AIMapper* loaded = nullptr;
    reinterpret_cast<decltype(&AIMapper_loadIMapper)>(dlsym(library, "AIMapper_loadIMapper"))(
            &loaded);
    return loaded == nullptr ? nullptr : &loaded->v5;
}

const std::shared_ptr<IAllocator>& allocator() {
    static const std::shared_ptr<IAllocator> found = findAllocator();
    return found;
}

const AIMapperV5& mapper() {
    static const AIMapperV5* const loaded = loadMapper(*allocator());
    return *loaded;
}

BufferDescriptorInfo describe(int32_t format, int32_t width, int32_t height, uint64_t usage) {
    BufferDescriptorInfo info;
    info.width = width;
    info.height = height;
    info.layerCount = 1;
    info.format = static_cast<PixelFormat>(format);
    info.usage = static_cast<BufferUsage>(usage);
    return info;
}

const native_handle* allocateAndImport(const BufferDescriptorInfo& description) {
    AllocationResult result;
    const ndk::ScopedAStatus status = allocator()->allocate2(description, 1, &result);
    flush();
    if (!status.isOk()) {
        return nullptr;
    }
    native_handle_t* const raw = android::makeFromAidl(result.buffers[0]);
    const native_handle* imported = nullptr;
    mapper().importBuffer(raw, &imported);
    flush();
    native_handle_delete(raw);
    flush();
    return imported;
}

Buffer::Buffer(const BufferDescriptorInfo& description)
    : mHandle(require(allocateAndImport(description))) {}

}  // namespace zelkcam::bench
