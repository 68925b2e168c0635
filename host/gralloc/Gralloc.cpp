#include "host/gralloc/Gralloc.h"

#include <atomic>

#include "host/gralloc/Imports.h"

namespace zelkcam::host::gralloc {
namespace {

class PlainGralloc : public Gralloc {
  public:
    AIMapper_Error allocate(const AllocationRequest& request, Allocation* out) override {
        return gralloc::allocate(request, out);
    }

    AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* outHandle) override {
        return mImports.add(raw, outHandle);
    }

    AIMapper_Error freeBuffer(buffer_handle_t handle) override { return mImports.remove(handle); }

    AIMapper_Error lock(buffer_handle_t handle, uint64_t cpuUsage, const Region& region,
                        int acquireFence, void** outData) override {
        const auto buffer = mImports.find(handle);
        return buffer != nullptr ? buffer->lock(cpuUsage, region, acquireFence, outData)
                                 : static_cast<AIMapper_Error>(deviceTraits().foreignHandle);
    }

    AIMapper_Error unlock(buffer_handle_t handle, ScopedFileDescriptor* releaseFence) override {
        const auto buffer = mImports.find(handle);
        return buffer != nullptr ? buffer->unlock(releaseFence) : AIMAPPER_ERROR_BAD_BUFFER;
    }

    std::shared_ptr<ImportedBuffer> find(buffer_handle_t handle) override {
        return mImports.find(handle);
    }

  private:
    Imports& mImports = Imports::ofProcess();
};

// Never destroyed: clients free buffers in their own exit destructors.
std::atomic<Gralloc*>& current() {
    static std::atomic<Gralloc*> gralloc{new PlainGralloc};
    return gralloc;
}

}  // namespace

int32_t Gralloc::getMetadata(buffer_handle_t handle, std::string_view typeName, int64_t type,
                             void* destination, size_t size) {
    const auto buffer = find(handle);
    return buffer != nullptr ? buffer->getMetadata(typeName, type, destination, size)
                             : deviceTraits().foreignRead;
}

Gralloc& gralloc() {
    return *current().load(std::memory_order_acquire);
}

void decorateGralloc(Gralloc& decorator) {
    current().store(&decorator, std::memory_order_release);
}

}  // namespace zelkcam::host::gralloc
