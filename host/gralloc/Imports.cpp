#include "host/gralloc/Imports.h"

#include <pthread.h>

#include <utility>

namespace zelkcam::host::gralloc {

// Never destroyed: clients free buffers in their own exit destructors. A child may go on with
// buffers whatever other threads did at the fork.
Imports& Imports::ofProcess() {
    static Imports& imports = []() -> Imports& {
        pthread_atfork([] { ofProcess().mMutex.lock(); }, [] { ofProcess().mMutex.unlock(); },
                       [] { ofProcess().mMutex.unlock(); });
        return *new Imports;
    }();
    return imports;
}

AIMapper_Error Imports::add(const native_handle_t* raw, buffer_handle_t* outHandle) {
    std::shared_ptr<ImportedBuffer> buffer;
    const AIMapper_Error error = ImportedBuffer::import(raw, &buffer);
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    const std::lock_guard guard(mMutex);
    mBuffers.emplace(buffer->handle(), buffer);
    *outHandle = buffer->handle();
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error Imports::remove(buffer_handle_t handle) {
    std::shared_ptr<ImportedBuffer> buffer;  // goes after the guard, with its system calls
    const std::lock_guard guard(mMutex);
    const auto found = mBuffers.find(handle);
    if (found == mBuffers.end()) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    buffer = std::move(found->second);
    mBuffers.erase(found);
    buffer->retire();
    return AIMAPPER_ERROR_NONE;
}

std::shared_ptr<ImportedBuffer> Imports::find(buffer_handle_t handle) const {
    const std::lock_guard guard(mMutex);
    const auto found = mBuffers.find(handle);
    return found != mBuffers.end() ? found->second : nullptr;
}

std::vector<std::shared_ptr<ImportedBuffer>> Imports::all() const {
    std::vector<std::shared_ptr<ImportedBuffer>> buffers;
    const std::lock_guard guard(mMutex);
    for (const auto& [handle, buffer] : mBuffers) {
        buffers.push_back(buffer);
    }
    return buffers;
}

}  // namespace zelkcam::host::gralloc
