// The buffers that this process holds. All mappers of the process share it: what one of them
// imported, the others know.
#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "host/gralloc/ImportedBuffer.h"

namespace zelkcam::host::gralloc {

// Safe from any thread.
class Imports {
  public:
    static Imports& ofProcess();

    // As AIMapper's importBuffer and freeBuffer.
    AIMapper_Error add(const native_handle_t* raw, buffer_handle_t* outHandle);
    AIMapper_Error remove(buffer_handle_t handle);

    // Null for everything that is not a living import: null, raw and freed handles and made-up
    // addresses, of which none is dereferenced. Whoever finds a buffer may use it although another
    // thread frees it meanwhile.
    std::shared_ptr<ImportedBuffer> find(buffer_handle_t handle) const;

    std::vector<std::shared_ptr<ImportedBuffer>> all() const;

  private:
    mutable std::mutex mMutex;
    std::unordered_map<buffer_handle_t, std::shared_ptr<ImportedBuffer>> mBuffers;
};

}  // namespace zelkcam::host::gralloc
