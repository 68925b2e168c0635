// Buffers from the HIDL graphics allocator 4.0, imported through the HIDL mapper.
#pragma once

#include <cstdint>
#include <string>

#include "platform/hidl.h"
#include "platform/utils.h"
#include "utils/gralloc/Export.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace NSCam::GrallocAllocator {

using android::hardware::hidl_vec;
using android::hardware::graphics::allocator::V4_0::IAllocator;
using android::hardware::graphics::common::V1_2::PixelFormat;
using NSCam::GrallocMapper::Mapper;

// Immutable once built: any thread may call any operation, several at once as far as the service
// and the mapper allow.
class ZELKCAM_EXPORT Allocator {
  public:
    // Finds the allocator service; ends the process when there is none. `mapper` is only referred
    // to and must live longer than this object.
    explicit Allocator(const Mapper& mapper);

    // Allocates `count` buffers of a descriptor that Mapper::createDescriptor made.
    // `outBufferHandles` has room for `count` handles, each to be released with free; `*outStride`
    // is their row stride in pixels. Returns 0; the service's Error code; 5 (NO_RESOURCES) when it
    // cannot be reached; the mapper's code when a buffer cannot be imported: those before it are
    // freed then and their slots are null. `*outStride` is written only on success.
    //
    // Contract: a service that reports success is trusted to have made `count` buffers.
    int32_t allocate(hidl_vec<uint8_t> descriptor, uint32_t count, uint32_t* outStride,
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

  private:
    const Mapper& mMapper;
    android::sp<IAllocator> mAllocator;
};

}  // namespace NSCam::GrallocAllocator
