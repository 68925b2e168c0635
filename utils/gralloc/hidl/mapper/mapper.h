// Buffers through the HIDL graphics mapper 4.0, for devices that have one in passthrough mode.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/hidl.h"
#include "platform/hwbinder.h"
#include "platform/utils.h"
#include "utils/gralloc/Export.h"

namespace NSCam::GrallocMapper {

using aidl::android::hardware::graphics::common::PlaneLayout;
using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::graphics::mapper::V4_0::IMapper;

// Buffers are imported handles; the raw handle that importBuffer takes is the exception. Results
// are the mapper's Error codes, 0 on success and 5 (NO_RESOURCES) when the service cannot be
// reached, or -22 for an invalid argument where a comment says so. Immutable once built: any thread
// may call any operation, several at once as far as the mapper allows.
class ZELKCAM_EXPORT Mapper {
  public:
    // Finds the mapper service. Ends the process when the mapper lives in another process.
    //
    // Contract: a missing service is not reported; the object must then not be used.
    Mapper();

    // Encodes a description for the allocator. `*outDescriptor` is written only on success.
    int32_t createDescriptor(const IMapper::BufferDescriptorInfo& descriptorInfo,
                             hidl_vec<uint8_t>* outDescriptor) const;

    // Makes `rawHandle` usable in this process. `*outBuffer`, written only on success, is a new
    // handle, released with freeBuffer; the raw handle stays the caller's.
    int32_t importBuffer(const hidl_handle& rawHandle, const native_handle** outBuffer) const;

    // Releases an imported handle.
    int32_t freeBuffer(const native_handle* buffer) const;

    // Maps the buffer for CPU access until unlock. `cpuUsage` holds CPU usage bits, the region is
    // in pixels. `acquireFence` is waited for by the mapper and consumed: it is closed before the
    // return, on failure too; -1 is none. `*outData`, written only on success, is the first byte of
    // the buffer.
    //
    // Contract: when the fence cannot be wrapped the lock answers 5 without a call to the mapper,
    // and the fence stays open and the caller's. That holds for all three locks.
    int32_t lock(const native_handle* buffer, uint64_t cpuUsage, const IMapper::Rect& accessRegion,
                 int acquireFence, void** outData) const;

    // The same, and reports the bytes of a pixel and of a row, -1 where planes differ or where it
    // is no whole number of bytes. Either output may be null.
    //
    // Contract: the two outputs come from the plane layouts, before the lock: they are written also
    // when the lock fails, and left alone, whatever the lock does, when the layouts cannot be read
    // or are empty.
    int32_t lock(const native_handle* buffer, uint64_t cpuUsage, const IMapper::Rect& accessRegion,
                 int acquireFence, void** outData, int* outBytesPerPixel,
                 int* outBytesPerStride) const;

    // The same for 8-bit YCbCr buffers: strides and step in bytes, planes that the buffer lacks
    // null. `*outYcbcr` is written only on success, and the buffer is locked only then. Answers -22
    // for a null output and for layouts that android_ycbcr cannot represent; layouts that cannot be
    // read answer what getPlaneLayouts does.
    //
    // Contract: when `outYcbcr` is null or the layouts cannot be read, `acquireFence` stays open
    // and the caller's. A buffer that describes no components gives null pointers and success.
    int32_t lock(const native_handle* buffer, uint64_t cpuUsage, const IMapper::Rect& accessRegion,
                 int acquireFence, android_ycbcr* outYcbcr) const;

    // Ends a lock. Returns the release fence, which the caller waits for and closes, or -1 for
    // none; a fence that cannot be duplicated is waited for here, without limit.
    //
    // Contract: the mapper's error is logged, not returned.
    int unlock(const native_handle* buffer) const;

    // Describes the buffer's planes. Answers -22 for a null output and for metadata that cannot be
    // decoded.
    //
    // Contract: the planes are appended to `*outPlaneLayouts`; metadata that breaks off leaves the
    // planes read so far.
    int32_t getPlaneLayouts(const native_handle* buffer,
                            std::vector<PlaneLayout>* outPlaneLayouts) const;

  private:
    android::sp<IMapper> mMapper;
};

}  // namespace NSCam::GrallocMapper
