// Buffers from the AIDL graphics allocator, version 2, imported through the stable C mapper.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/allocator.h"
#include "platform/utils.h"
#include "utils/gralloc/Export.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace NSCam::GrallocAllocatorAidlV2 {

using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::allocator::IAllocator;
using aidl::android::hardware::graphics::common::PixelFormat;
using NSCam::GrallocMapperAidlV2::MapperV5;

// Immutable once built: any thread may call any operation, several at once as far as the service
// and the mapper allow. Every call of the service is followed by ipcFlushCommands.
class ZELKCAM_EXPORT AllocatorAidl {
  public:
    // The allocator service, or an empty pointer when it is not there; it is not waited for.
    static std::shared_ptr<IAllocator> createInstance();

    // Keeps a reference to `allocator`; an empty one ends the process. `mapper` is only referred to
    // and must live longer than this object.
    AllocatorAidl(std::shared_ptr<IAllocator> allocator, const MapperV5& mapper);

    // Allocates `count` buffers of one description. `outBufferHandles` has room for `count`
    // handles, each to be released with free; `*outStride` is their row stride in pixels. Returns
    // 0; 5 (AIMAPPER_ERROR_NO_RESOURCES) when the service refuses, whatever its reason; 2
    // (AIMAPPER_ERROR_BAD_BUFFER) when a buffer cannot be imported: those before it are freed then
    // and their slots are null. `*outStride` is written only on success.
    //
    // Contract: a service that reports success is trusted to have made `count` buffers.
    int32_t allocate(BufferDescriptorInfo descriptorInfo, uint32_t count, uint32_t* outStride,
                     const native_handle** outBufferHandles) const;

    // Allocates one buffer. Sizes are in pixels; when either is 0 both become 1. A layer count of 0
    // becomes 1. Returns 0, or -12 on any failure; `*outStride` is written only on success.
    //
    // Contract: `reservedSize` and `name` are accepted and not used.
    int32_t allocate(uint32_t width, uint32_t height, PixelFormat format, uint32_t layerCount,
                     uint64_t usage, const native_handle** outBufferHandle, uint32_t* outStride,
                     uint64_t reservedSize, std::string name) const;

    // Releases a buffer that allocate returned. Always 0; the mapper logs a failure.
    int32_t free(const native_handle* buffer) const;

    // Sends the calling thread's pending hardware-binder commands.
    void ipcFlushCommands() const;

  private:
    const MapperV5& mMapper;
    std::shared_ptr<IAllocator> mAllocator;
};

}  // namespace NSCam::GrallocAllocatorAidlV2
