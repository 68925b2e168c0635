// The host's HIDL mapper 4.0, over the same buffers as the stable C mapper: what one of them
// imported, the other knows.
#pragma once

#include <android/hardware/graphics/mapper/4.0/IMapper.h>

namespace zelkcam::host {

// Stateless, so safe from any thread. Every call comes through (its Return is OK) and calls its
// callback once.
class MapperService : public android::hardware::graphics::mapper::V4_0::IMapper {
  public:
    using Error = android::hardware::graphics::mapper::V4_0::Error;
    template <typename T>
    using Return = android::hardware::Return<T>;
    using Bytes = android::hardware::hidl_vec<uint8_t>;
    using Handle = android::hardware::hidl_handle;

    Return<void> createDescriptor(const BufferDescriptorInfo& description,
                                  createDescriptor_cb callback) override;
    Return<void> importBuffer(const Handle& rawHandle, importBuffer_cb callback) override;
    Return<Error> freeBuffer(void* buffer) override;
    Return<Error> validateBufferSize(void* buffer, const BufferDescriptorInfo& description,
                                     uint32_t stride) override;
    Return<void> getTransportSize(void* buffer, getTransportSize_cb callback) override;
    Return<void> lock(void* buffer, uint64_t cpuUsage, const Rect& accessRegion,
                      const Handle& acquireFence, lock_cb callback) override;
    Return<void> unlock(void* buffer, unlock_cb callback) override;
    Return<void> flushLockedBuffer(void* buffer, flushLockedBuffer_cb callback) override;
    Return<Error> rereadLockedBuffer(void* buffer) override;
    Return<void> isSupported(const BufferDescriptorInfo& description,
                             isSupported_cb callback) override;
    Return<void> get(void* buffer, const MetadataType& metadataType, get_cb callback) override;
    Return<Error> set(void* buffer, const MetadataType& metadataType,
                      const Bytes& metadata) override;
    Return<void> getFromBufferDescriptorInfo(const BufferDescriptorInfo& description,
                                             const MetadataType& metadataType,
                                             getFromBufferDescriptorInfo_cb callback) override;
    Return<void> listSupportedMetadataTypes(listSupportedMetadataTypes_cb callback) override;
    Return<void> dumpBuffer(void* buffer, dumpBuffer_cb callback) override;
    Return<void> dumpBuffers(dumpBuffers_cb callback) override;
    Return<void> getReservedRegion(void* buffer, getReservedRegion_cb callback) override;
};

}  // namespace zelkcam::host
