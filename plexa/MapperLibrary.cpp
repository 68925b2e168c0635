#include "plexa/MapperLibrary.h"

#include <dlfcn.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "platform/allocator.h"

namespace zelkcam::plexa {
namespace {

using aidl::android::hardware::graphics::allocator::IAllocator;

// Neither has a destructor to run: buffers may still be queried while the process ends.
constinit std::mutex gSearch;
constinit std::atomic<const AIMapper*> gMapper{nullptr};

std::shared_ptr<IAllocator> findAllocator() {
    const std::string instance = std::string(IAllocator::descriptor) + "/default";
    const ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    return binder.get() == nullptr ? nullptr : IAllocator::fromBinder(binder);
}

// Empty when there is no service or it names no library.
std::string mapperLibraryName() {
    const std::shared_ptr<IAllocator> allocator = findAllocator();
    std::string suffix;
    if (allocator == nullptr || !allocator->getIMapperLibrarySuffix(&suffix).isOk()) {
        return {};
    }
    return "mapper." + suffix + ".so";
}

// The mapper that a loaded library gives, or null. The pointer alone counts, not the entry's
// result.
const AIMapper* enterMapper(void* library) {
    const auto load = reinterpret_cast<decltype(&AIMapper_loadIMapper)>(
            dlsym(library, "AIMapper_loadIMapper"));
    AIMapper* mapper = nullptr;
    if (load != nullptr) {
        load(&mapper);
    }
    return mapper != nullptr && mapper->version >= AIMAPPER_VERSION_5 ? mapper : nullptr;
}

// Keeps the library only if there is a mapper in it.
const AIMapper* loadMapper(const std::string& name) {
    void* const library = android_load_sphal_library(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return nullptr;
    }
    const AIMapper* const mapper = enterMapper(library);
    if (mapper == nullptr) {
        android_unload_sphal_library(library);
    }
    return mapper;
}

// Ends the process when an exception, such as a failed allocation's, would leave the mutex locked.
const AIMapper* findMapper() noexcept {
    const std::lock_guard lock(gSearch);
    const AIMapper* mapper = gMapper.load(std::memory_order_relaxed);
    if (mapper != nullptr) {
        return mapper;
    }
    const std::string name = mapperLibraryName();
    mapper = name.empty() ? nullptr : loadMapper(name);
    gMapper.store(mapper, std::memory_order_release);
    return mapper;
}

}  // namespace

const AIMapperV5* mapperFunctions() {
    const AIMapper* mapper = gMapper.load(std::memory_order_acquire);
    if (mapper == nullptr) {
        mapper = findMapper();
    }
    return mapper == nullptr ? nullptr : &mapper->v5;
}

}  // namespace zelkcam::plexa
