// A buffer of the tool's own, from the allocator that the library uses.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "tools/grallocinfo/Answers.h"
#include "utils/gralloc/IGrallocInfoProvider.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace grallocinfo {

// The stable C mapper of the allocator service; throws a Failure when there is no service. Ends the
// process, as the library does, when the service's mapper cannot be loaded.
std::unique_ptr<const NSCam::GrallocMapperAidlV2::MapperV5> openMapper();

// Allocates on construction, frees on destruction. Throws a Failure when the allocator refuses.
class AidlBuffer {
  public:
    // `usage` counts as given, also for a concrete format.
    AidlBuffer(const zcam::GrallocRequest& request, uint32_t usage);
    ~AidlBuffer();
    AidlBuffer(const AidlBuffer&) = delete;
    AidlBuffer& operator=(const AidlBuffer&) = delete;

    const native_handle* handle() const { return mHandle; }
    const NSCam::GrallocMapperAidlV2::MapperV5& mapper() const { return *mMapper; }

  private:
    std::shared_ptr<NSCam::GrallocAllocatorAidlV2::IAllocator> mService;
    std::unique_ptr<const NSCam::GrallocMapperAidlV2::MapperV5> mMapper;
    std::unique_ptr<const NSCam::GrallocAllocatorAidlV2::AllocatorAidl> mAllocator;
    const native_handle* mHandle = nullptr;
};

// What a buffer occupies, in bytes; nothing where the buffer-attribute extension does not tell.
std::optional<uint64_t> allocationSizeOf(const native_handle* handle);

// Allocates what a request's probe gets, and describes it.
Allocation probeAllocation(const zcam::GrallocRequest& request);

}  // namespace grallocinfo
