// Buffers through the stable C mapper of the device, version 5.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/allocator.h"
#include "platform/mapper.h"
#include "platform/utils.h"
#include "utils/gralloc/Export.h"

namespace NSCam::GrallocMapperAidlV2 {

using aidl::android::hardware::graphics::allocator::IAllocator;
using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::hardware::graphics::mapper::StandardMetadata;

// What `data` points at in MapperV5::setGrallocMeta and MapperV5::getGrallocMeta, and how large it
// is.
enum GRALLOC_STANDARD_METADATA_TYPE : int32_t {
    GRALLOC_META_SMPTE2086 = 0,  // a Smpte2086, 40 bytes: mastering display
    GRALLOC_META_CTA861_3 = 1,   // a Cta861_3, 8 bytes: content light levels
    // HDR10+. Set: a std::vector<uint8_t> that holds the payload, its size is not looked at. Get: a
    // plexa_hdr10p_dynamic_metadata_t, 224 bytes, whose start receives the payload.
    GRALLOC_META_SMPTE2094_40 = 2,
    // Dolby Vision. Set: as HDR10+. Get: not supported, answers success and writes nothing.
    GRALLOC_META_SMPTE2094_10 = 3,
};

// One loaded mapper. Buffers are imported handles; the raw handle that importBuffer takes is the
// exception. Results are AIMapper_Error values, 0 on success, unless a comment says otherwise, and
// come from the mapper unchanged. Immutable once built: any thread may call any operation, several
// at once as far as the mapper allows. Every mapper call is followed by ipcFlushCommands.
class ZELKCAM_EXPORT MapperV5 {
  public:
    // Loads the mapper library that `allocator` names and keeps it loaded for the life of the
    // process. Ends the process when the library cannot be named, loaded or entered. `allocator`
    // must not be null; a reference to it is kept.
    explicit MapperV5(std::shared_ptr<IAllocator> allocator);

    // Makes `rawHandle` usable in this process. `*outBuffer` is a new handle, released with
    // freeBuffer; the raw handle stays the caller's.
    int32_t importBuffer(const native_handle* rawHandle, const native_handle** outBuffer) const;

    // Releases an imported handle.
    int32_t freeBuffer(const native_handle* buffer) const;

    // Maps the buffer for CPU access until unlock. `cpuUsage` holds CPU usage bits, the region is
    // in pixels with right and bottom outside it, all zero for the whole buffer. `acquireFence` is
    // waited for by the mapper and consumed: it is closed before the return, on failure too; -1 is
    // none. `*outData` is the first byte of the buffer.
    int32_t lock(const native_handle* buffer, uint64_t cpuUsage, const ARect& accessRegion,
                 int acquireFence, void** outData) const;

    // The same, and reports the bytes of a pixel and of a row, -1 where planes differ or where it
    // is no whole number of bytes. Either output may be null.
    //
    // Contract: the two outputs come from the plane layouts, before the lock: they are written also
    // when the lock fails, and left alone, whatever the lock does, when the layouts cannot be read
    // or are empty.
    int32_t lock(const native_handle* buffer, uint64_t cpuUsage, const ARect& accessRegion,
                 int acquireFence, void** outData, int* outBytesPerPixel,
                 int* outBytesPerStride) const;

    // The same for 8-bit YCbCr buffers: strides and step in bytes, planes that the buffer lacks
    // null. `*outYcbcr` is written only on success, and the buffer is locked only then. Answers 3
    // (AIMAPPER_ERROR_BAD_VALUE) for a null output, for layouts that cannot be read and for layouts
    // that android_ycbcr cannot represent.
    //
    // Contract: when `outYcbcr` is null or the layouts cannot be read, `acquireFence` stays open
    // and the caller's; on every other path it is consumed.
    int32_t lock(const native_handle* buffer, uint64_t cpuUsage, const ARect& accessRegion,
                 int acquireFence, android_ycbcr* outYcbcr) const;

    // Ends a lock. Returns the release fence, which the caller waits for and closes, or -1 for
    // none.
    //
    // Contract: the mapper's error is logged, not returned.
    int unlock(const native_handle* buffer) const;

    // Describes the buffer's planes. Answers 3 (AIMAPPER_ERROR_BAD_VALUE) when they cannot be read;
    // `*outPlaneLayouts` is written only on success.
    int32_t getPlaneLayouts(const native_handle* buffer,
                            std::vector<PlaneLayout>* outPlaneLayouts) const;

    // Writes HDR metadata of the kind `type`, so that every importer of the buffer reads it. `data`
    // stays the caller's. Answers 2 (AIMAPPER_ERROR_BAD_BUFFER) for a null handle, 3
    // (AIMAPPER_ERROR_BAD_VALUE) for null data or a `data_size` other than the record's, otherwise
    // the mapper's result. An unknown kind answers 0 and does nothing.
    AIMapper_Error setGrallocMeta(const native_handle* handle, GRALLOC_STANDARD_METADATA_TYPE type,
                                  void* data, unsigned int data_size) const;

    // Reads HDR metadata of the kind `type` into `data`. Answers 2 and 3 as setGrallocMeta does.
    //
    // Contract: everything else answers 0, also a buffer without such metadata and a mapper that
    // fails; the caller sees it by `data`, which is written only when there is something to write.
    // A payload is copied whole, also one of more than 224 bytes: `data` must have the room.
    AIMapper_Error getGrallocMeta(const native_handle* handle, GRALLOC_STANDARD_METADATA_TYPE type,
                                  void* data, unsigned int data_size) const;

    // Writes one value of standard metadata; an absent optional removes it. Answers the mapper's
    // result, or the encoder's negated. Exists for SMPTE2086, CTA861_3, SMPTE2094_40, SMPTE2094_10.
    template <StandardMetadataType T>
    AIMapper_Error setStandardMetadata(const native_handle* handle,
                                       const typename StandardMetadata<T>::value_type& value) const;

    // Reads one value of standard metadata. No result means that it could not be fetched or
    // decoded; an optional kind that the buffer does not carry is a result that holds nothing.
    // Exists for PLANE_LAYOUTS, SMPTE2086, CTA861_3 and SMPTE2094_40.
    template <StandardMetadataType T>
    std::optional<typename StandardMetadata<T>::value_type> getStandardMetadata(
            const native_handle* handle) const;

    // Sends the calling thread's pending hardware-binder commands.
    void ipcFlushCommands() const;

  private:
    std::shared_ptr<AIMapper> mMapper;
    std::shared_ptr<IAllocator> mAllocator;
    // Of the property "debug.zelkcam.utils.gralloc.loglevel": other than 0 allows the dumps.
    int32_t mLogLevel = 0;
};

}  // namespace NSCam::GrallocMapperAidlV2
