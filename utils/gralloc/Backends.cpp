#include "utils/gralloc/Backends.h"

#include <unistd.h>

#include "platform/sync.h"

namespace NSCam::gralloc {

std::unique_ptr<const MapperV5> gMapper;
std::unique_ptr<const AllocatorAidl> gAllocator;

void unlockAndWait(const native_handle* handle) {
    const int releaseFence = gMapper ? gMapper->unlock(handle) : -1;
    sync_wait(releaseFence, -1);
    close(releaseFence);
}

}  // namespace NSCam::gralloc
