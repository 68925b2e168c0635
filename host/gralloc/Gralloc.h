// The host's buffers as its services reach them: whatever the allocators and mappers of the process
// do with a buffer comes through here.
#pragma once

#include <memory>

#include "host/gralloc/Allocation.h"
#include "host/gralloc/ImportedBuffer.h"

namespace zelkcam::host::gralloc {

// Answered by allocate where the service has died: no code of the interface, but no answer at all.
inline constexpr auto kServiceGone = static_cast<AIMapper_Error>(-1);

// Safe from any thread. A handle that is no living import of this process is BAD_BUFFER everywhere.
class Gralloc {
  public:
    virtual ~Gralloc() = default;

    // As the function allocate.
    virtual AIMapper_Error allocate(const AllocationRequest& request, Allocation* out) = 0;

    // As AIMapper's operations of these names.
    virtual AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* outHandle) = 0;
    virtual AIMapper_Error freeBuffer(buffer_handle_t handle) = 0;

    // As ImportedBuffer's.
    virtual AIMapper_Error lock(buffer_handle_t handle, uint64_t cpuUsage, const Region& region,
                                int acquireFence, void** outData) = 0;
    virtual AIMapper_Error unlock(buffer_handle_t handle, ScopedFileDescriptor* releaseFence) = 0;

    // As AIMapper's getMetadata.
    virtual int32_t getMetadata(buffer_handle_t handle, std::string_view typeName, int64_t type,
                                void* destination, size_t size);

    // For all other uses of a buffer; as Imports::find.
    virtual std::shared_ptr<ImportedBuffer> find(buffer_handle_t handle) = 0;

    // Answers use(buffer), an AIMapper_Error, for a living import and BAD_BUFFER for anything else.
    template <typename Use>
    AIMapper_Error with(buffer_handle_t handle, Use&& use) {
        const auto buffer = find(handle);
        return buffer != nullptr ? use(*buffer) : AIMAPPER_ERROR_BAD_BUFFER;
    }
};

// The one of this process.
Gralloc& gralloc();

// Puts `decorator`, which lives as long as the process, in front of what gralloc() answered so far.
// For libraries that are loaded before anybody asks for a buffer.
void decorateGralloc(Gralloc& decorator);

}  // namespace zelkcam::host::gralloc
