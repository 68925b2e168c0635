// The HIDL graphics mapper 4.0: imports, maps and describes buffers in the caller's process.
#pragma once

#include <stdint.h>

#include <functional>
#include <ostream>
#include <string>

#include <android/hardware/graphics/common/1.2/types.h>
#include <android/hardware/graphics/mapper/4.0/types.h>
#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlInterface.h"
#include "zelkcam/host/HidlTypes.h"

namespace android::hardware::graphics::mapper::V4_0 {

// Buffers travel as void*, to be cast to and from buffer_handle_t. A call that comes through (its
// Return is OK) has called its callback exactly once before it returns; on an error the other
// arguments are null or empty. Used in passthrough: isRemote is false. Own slots 13 to 29.
struct IMapper : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    static const char* descriptor;  // "android.hardware.graphics.mapper@4.0::IMapper"

    // What to allocate. Numbers are indeterminate until set.
    struct BufferDescriptorInfo final {
        hidl_string name __attribute__((aligned(8)));
        uint32_t width __attribute__((aligned(4)));
        uint32_t height __attribute__((aligned(4)));
        uint32_t layerCount __attribute__((aligned(4)));
        ::android::hardware::graphics::common::V1_2::PixelFormat format __attribute__((aligned(4)));
        hidl_bitfield<::android::hardware::graphics::common::V1_2::BufferUsage> usage
                __attribute__((aligned(8)));
        uint64_t reservedSize __attribute__((aligned(8)));

        friend bool operator==(const BufferDescriptorInfo&, const BufferDescriptorInfo&) = default;
    };

    // Left, top, and a size. All zero is the whole buffer.
    struct Rect final {
        int32_t left __attribute__((aligned(4)));
        int32_t top __attribute__((aligned(4)));
        int32_t width __attribute__((aligned(4)));
        int32_t height __attribute__((aligned(4)));

        friend bool operator==(const Rect&, const Rect&) = default;
    };

    // A vendor's or the standard's name, and a number within it.
    struct MetadataType final {
        hidl_string name __attribute__((aligned(8)));
        int64_t value __attribute__((aligned(8)));

        friend bool operator==(const MetadataType&, const MetadataType&) = default;
    };

    struct MetadataTypeDescription final {
        MetadataType metadataType __attribute__((aligned(8)));
        hidl_string description __attribute__((aligned(8)));
        bool isGettable __attribute__((aligned(1)));
        bool isSettable __attribute__((aligned(1)));

        friend bool operator==(const MetadataTypeDescription&,
                               const MetadataTypeDescription&) = default;
    };

    struct MetadataDump final {
        MetadataType metadataType __attribute__((aligned(8)));
        hidl_vec<uint8_t> metadata __attribute__((aligned(8)));

        friend bool operator==(const MetadataDump&, const MetadataDump&) = default;
    };

    struct BufferDump final {
        hidl_vec<MetadataDump> metadataDump __attribute__((aligned(8)));

        friend bool operator==(const BufferDump&, const BufferDump&) = default;
    };

    bool isRemote() const override { return false; }

    using createDescriptor_cb =
            std::function<void(Error error, const hidl_vec<uint8_t>& descriptor)>;
    // Encodes a description for the allocator. BAD_VALUE for attributes that no buffer can have,
    // UNSUPPORTED for those that this device does not offer.
    virtual Return<void> createDescriptor(const BufferDescriptorInfo& description,
                                          createDescriptor_cb _hidl_cb) = 0;

    using importBuffer_cb = std::function<void(Error error, void* buffer)>;
    // Imports a raw handle, which stays the caller's. The result is freed with freeBuffer and never
    // closed or deleted.
    virtual Return<void> importBuffer(const hidl_handle& rawHandle, importBuffer_cb _hidl_cb) = 0;

    virtual Return<Error> freeBuffer(void* buffer) = 0;

    // NONE when the buffer can hold the description at that stride (in pixels).
    virtual Return<Error> validateBufferSize(void* buffer, const BufferDescriptorInfo& description,
                                             uint32_t stride) = 0;

    using getTransportSize_cb = std::function<void(Error error, uint32_t numFds, uint32_t numInts)>;
    // How many descriptors and integers of the handle another process needs to import it.
    virtual Return<void> getTransportSize(void* buffer, getTransportSize_cb _hidl_cb) = 0;

    using lock_cb = std::function<void(Error error, void* data)>;
    // Maps the buffer; data is its first byte. The acquire fence, one descriptor or none, stays the
    // caller's, who closes it after the call.
    virtual Return<void> lock(void* buffer, uint64_t cpuUsage, const Rect& accessRegion,
                              const hidl_handle& acquireFence, lock_cb _hidl_cb) = 0;

    using unlock_cb = std::function<void(Error error, const hidl_handle& releaseFence)>;
    // The release fence, at most one descriptor, is valid inside the callback only.
    virtual Return<void> unlock(void* buffer, unlock_cb _hidl_cb) = 0;

    using flushLockedBuffer_cb = std::function<void(Error error, const hidl_handle& releaseFence)>;
    virtual Return<void> flushLockedBuffer(void* buffer, flushLockedBuffer_cb _hidl_cb) = 0;

    virtual Return<Error> rereadLockedBuffer(void* buffer) = 0;

    using isSupported_cb = std::function<void(Error error, bool supported)>;
    virtual Return<void> isSupported(const BufferDescriptorInfo& description,
                                     isSupported_cb _hidl_cb) = 0;

    using get_cb = std::function<void(Error error, const hidl_vec<uint8_t>& metadata)>;
    // The encoded value. NONE and no bytes for an absent optional.
    virtual Return<void> get(void* buffer, const MetadataType& metadataType, get_cb _hidl_cb) = 0;

    virtual Return<Error> set(void* buffer, const MetadataType& metadataType,
                              const hidl_vec<uint8_t>& metadata) = 0;

    using getFromBufferDescriptorInfo_cb =
            std::function<void(Error error, const hidl_vec<uint8_t>& metadata)>;
    // What get would answer for a buffer of that description.
    virtual Return<void> getFromBufferDescriptorInfo(const BufferDescriptorInfo& description,
                                                     const MetadataType& metadataType,
                                                     getFromBufferDescriptorInfo_cb _hidl_cb) = 0;

    using listSupportedMetadataTypes_cb =
            std::function<void(Error error, const hidl_vec<MetadataTypeDescription>& descriptions)>;
    virtual Return<void> listSupportedMetadataTypes(listSupportedMetadataTypes_cb _hidl_cb) = 0;

    using dumpBuffer_cb = std::function<void(Error error, const BufferDump& bufferDump)>;
    virtual Return<void> dumpBuffer(void* buffer, dumpBuffer_cb _hidl_cb) = 0;

    using dumpBuffers_cb =
            std::function<void(Error error, const hidl_vec<BufferDump>& bufferDumps)>;
    // Every buffer that this process has imported.
    virtual Return<void> dumpBuffers(dumpBuffers_cb _hidl_cb) = 0;

    using getReservedRegion_cb =
            std::function<void(Error error, void* reservedRegion, uint64_t reservedSize)>;
    // The region that the allocation reserved for the client, zero bytes when it asked for none.
    virtual Return<void> getReservedRegion(void* buffer, getReservedRegion_cb _hidl_cb) = 0;

    ZELKCAM_HIDL_BASE_OPERATIONS(IMapper)
    ZELKCAM_HIDL_SERVICE_OPERATIONS(IMapper)
};

ZELKCAM_HIDL_INTERFACE_TEXT(IMapper)

// The usage is a set of bits.
inline std::string toString(const IMapper::BufferDescriptorInfo& record) {
    using ::android::hardware::toString;
    namespace common = ::android::hardware::graphics::common::V1_2;
    return "{.name = " + toString(record.name) + ", .width = " + toString(record.width) +
           ", .height = " + toString(record.height) +
           ", .layerCount = " + toString(record.layerCount) +
           ", .format = " + common::toString(record.format) +
           ", .usage = " + common::toString<common::BufferUsage>(record.usage) +
           ", .reservedSize = " + toString(record.reservedSize) + "}";
}
inline void PrintTo(const IMapper::BufferDescriptorInfo& record, ::std::ostream* stream) {
    *stream << toString(record);
}

ZELKCAM_HIDL_RECORD_TEXT(IMapper::Rect, left, top, width, height)
ZELKCAM_HIDL_RECORD_TEXT(IMapper::MetadataType, name, value)
ZELKCAM_HIDL_RECORD_TEXT(IMapper::MetadataTypeDescription, metadataType, description, isGettable,
                         isSettable)
ZELKCAM_HIDL_RECORD_TEXT(IMapper::MetadataDump, metadataType, metadata)
ZELKCAM_HIDL_RECORD_TEXT(IMapper::BufferDump, metadataDump)

}  // namespace android::hardware::graphics::mapper::V4_0
