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

namespace android {
namespace hardware {
namespace graphics {
namespace mapper {
namespace V4_0 {

// Buffers travel as void*, to be cast to and from buffer_handle_t. A call that comes through (its
// Return is OK) has called its callback exactly once before it returns; on an error the other
// arguments are null or empty. Used in passthrough: isRemote is false. Own slots 13 to 29.
struct IMapper : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    static const char* descriptor;  // "android.hardware.graphics.mapper@4.0::IMapper"

    // What to allocate. Numbers are indeterminate until set.
    struct BufferDescriptorInfo final {
        ::android::hardware::hidl_string name __attribute__((aligned(8)));
        uint32_t width __attribute__((aligned(4)));
        uint32_t height __attribute__((aligned(4)));
        uint32_t layerCount __attribute__((aligned(4)));
        ::android::hardware::graphics::common::V1_2::PixelFormat format __attribute__((aligned(4)));
        ::android::hardware::hidl_bitfield<::android::hardware::graphics::common::V1_2::BufferUsage>
                usage __attribute__((aligned(8)));
        uint64_t reservedSize __attribute__((aligned(8)));
    };

    // Left, top, and a size. All zero is the whole buffer.
    struct Rect final {
        int32_t left __attribute__((aligned(4)));
        int32_t top __attribute__((aligned(4)));
        int32_t width __attribute__((aligned(4)));
        int32_t height __attribute__((aligned(4)));
    };

    // A vendor's or the standard's name, and a number within it.
    struct MetadataType final {
        ::android::hardware::hidl_string name __attribute__((aligned(8)));
        int64_t value __attribute__((aligned(8)));
    };

    struct MetadataTypeDescription final {
        MetadataType metadataType __attribute__((aligned(8)));
        ::android::hardware::hidl_string description __attribute__((aligned(8)));
        bool isGettable __attribute__((aligned(1)));
        bool isSettable __attribute__((aligned(1)));
    };

    struct MetadataDump final {
        MetadataType metadataType __attribute__((aligned(8)));
        ::android::hardware::hidl_vec<uint8_t> metadata __attribute__((aligned(8)));
    };

    struct BufferDump final {
        ::android::hardware::hidl_vec<MetadataDump> metadataDump __attribute__((aligned(8)));
    };

    bool isRemote() const override { return false; }

    using createDescriptor_cb = std::function<void(
            Error error, const ::android::hardware::hidl_vec<uint8_t>& descriptor)>;
    // Encodes a description for the allocator. BAD_VALUE for attributes that no buffer can have,
    // UNSUPPORTED for those that this device does not offer.
    virtual ::android::hardware::Return<void> createDescriptor(
            const BufferDescriptorInfo& description, createDescriptor_cb _hidl_cb) = 0;

    using importBuffer_cb = std::function<void(Error error, void* buffer)>;
    // Imports a raw handle, which stays the caller's. The result is freed with freeBuffer and never
    // closed or deleted.
    virtual ::android::hardware::Return<void> importBuffer(
            const ::android::hardware::hidl_handle& rawHandle, importBuffer_cb _hidl_cb) = 0;

    virtual ::android::hardware::Return<Error> freeBuffer(void* buffer) = 0;

    // NONE when the buffer can hold the description at that stride (in pixels).
    virtual ::android::hardware::Return<Error> validateBufferSize(
            void* buffer, const BufferDescriptorInfo& description, uint32_t stride) = 0;

    using getTransportSize_cb = std::function<void(Error error, uint32_t numFds, uint32_t numInts)>;
    // How many descriptors and integers of the handle another process needs to import it.
    virtual ::android::hardware::Return<void> getTransportSize(void* buffer,
                                                               getTransportSize_cb _hidl_cb) = 0;

    using lock_cb = std::function<void(Error error, void* data)>;
    // Maps the buffer; data is its first byte. The acquire fence, one descriptor or none, stays the
    // caller's, who closes it after the call.
    virtual ::android::hardware::Return<void> lock(
            void* buffer, uint64_t cpuUsage, const Rect& accessRegion,
            const ::android::hardware::hidl_handle& acquireFence, lock_cb _hidl_cb) = 0;

    using unlock_cb =
            std::function<void(Error error, const ::android::hardware::hidl_handle& releaseFence)>;
    // The release fence, at most one descriptor, is valid inside the callback only.
    virtual ::android::hardware::Return<void> unlock(void* buffer, unlock_cb _hidl_cb) = 0;

    using flushLockedBuffer_cb =
            std::function<void(Error error, const ::android::hardware::hidl_handle& releaseFence)>;
    virtual ::android::hardware::Return<void> flushLockedBuffer(void* buffer,
                                                                flushLockedBuffer_cb _hidl_cb) = 0;

    virtual ::android::hardware::Return<Error> rereadLockedBuffer(void* buffer) = 0;

    using isSupported_cb = std::function<void(Error error, bool supported)>;
    virtual ::android::hardware::Return<void> isSupported(const BufferDescriptorInfo& description,
                                                          isSupported_cb _hidl_cb) = 0;

    using get_cb = std::function<void(Error error,
                                      const ::android::hardware::hidl_vec<uint8_t>& metadata)>;
    // The encoded value. NONE and no bytes for an absent optional.
    virtual ::android::hardware::Return<void> get(void* buffer, const MetadataType& metadataType,
                                                  get_cb _hidl_cb) = 0;

    virtual ::android::hardware::Return<Error> set(
            void* buffer, const MetadataType& metadataType,
            const ::android::hardware::hidl_vec<uint8_t>& metadata) = 0;

    using getFromBufferDescriptorInfo_cb = std::function<void(
            Error error, const ::android::hardware::hidl_vec<uint8_t>& metadata)>;
    // What get would answer for a buffer of that description.
    virtual ::android::hardware::Return<void> getFromBufferDescriptorInfo(
            const BufferDescriptorInfo& description, const MetadataType& metadataType,
            getFromBufferDescriptorInfo_cb _hidl_cb) = 0;

    using listSupportedMetadataTypes_cb = std::function<void(
            Error error,
            const ::android::hardware::hidl_vec<MetadataTypeDescription>& descriptions)>;
    virtual ::android::hardware::Return<void> listSupportedMetadataTypes(
            listSupportedMetadataTypes_cb _hidl_cb) = 0;

    using dumpBuffer_cb = std::function<void(Error error, const BufferDump& bufferDump)>;
    virtual ::android::hardware::Return<void> dumpBuffer(void* buffer, dumpBuffer_cb _hidl_cb) = 0;

    using dumpBuffers_cb = std::function<void(
            Error error, const ::android::hardware::hidl_vec<BufferDump>& bufferDumps)>;
    // Every buffer that this process has imported.
    virtual ::android::hardware::Return<void> dumpBuffers(dumpBuffers_cb _hidl_cb) = 0;

    using getReservedRegion_cb =
            std::function<void(Error error, void* reservedRegion, uint64_t reservedSize)>;
    // The region that the allocation reserved for the client, zero bytes when it asked for none.
    virtual ::android::hardware::Return<void> getReservedRegion(void* buffer,
                                                                getReservedRegion_cb _hidl_cb) = 0;

    // The base's operations, in the base's slots.
    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void>
    debug(const ::android::hardware::hidl_handle& fd,
          const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) override;
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> setHALInstrumentation() override;
    ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie) override;
    ::android::hardware::Return<void> ping() override;
    ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;
    ::android::hardware::Return<void> notifySyspropsChanged() override;
    ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) override;

    // The object again when its chain holds this interface, else null. With emitError a call that
    // does not come through is reported as such instead of as null.
    static ::android::hardware::Return<::android::sp<IMapper>> castFrom(
            const ::android::sp<IMapper>& parent, bool emitError = false);
    static ::android::hardware::Return<::android::sp<IMapper>> castFrom(
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent,
            bool emitError = false);

    // The service of that name, or null when there is none. Never waits. Thread-safe.
    static ::android::sp<IMapper> tryGetService(const std::string& serviceName = "default",
                                                bool getStub = false);
    static ::android::sp<IMapper> tryGetService(const char serviceName[], bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IMapper> tryGetService(const ::android::hardware::hidl_string& serviceName,
                                                bool getStub = false) {
        return tryGetService(std::string(serviceName.c_str(), serviceName.size()), getStub);
    }
    static ::android::sp<IMapper> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // The service of that name, or null when there is none: the host platform declares no service
    // that it does not have, so there is nothing to wait for. Thread-safe.
    static ::android::sp<IMapper> getService(const std::string& serviceName = "default",
                                             bool getStub = false);
    static ::android::sp<IMapper> getService(const char serviceName[], bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IMapper> getService(const ::android::hardware::hidl_string& serviceName,
                                             bool getStub = false) {
        return getService(std::string(serviceName.c_str(), serviceName.size()), getStub);
    }
    static ::android::sp<IMapper> getService(bool getStub) {
        return getService("default", getStub);
    }

    // Offers this object under that name from now on, in place of an earlier one; the registry
    // keeps a strong reference. OK on success, UNKNOWN_ERROR for an empty name or when the object
    // cannot tell its interfaces. Thread-safe.
    __attribute__((warn_unused_result)) ::android::status_t registerAsService(
            const std::string& serviceName = "default");
    // Tells the notification of every service of that name, at once of one that is there already.
    // An empty name stands for all. False for a null notification. Thread-safe.
    static bool registerForNotifications(
            const std::string& serviceName,
            const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>&
                    notification);
};

inline bool operator==(const IMapper::BufferDescriptorInfo& left,
                       const IMapper::BufferDescriptorInfo& right) {
    return left.name == right.name && left.width == right.width && left.height == right.height &&
           left.layerCount == right.layerCount && left.format == right.format &&
           left.usage == right.usage && left.reservedSize == right.reservedSize;
}
inline bool operator!=(const IMapper::BufferDescriptorInfo& left,
                       const IMapper::BufferDescriptorInfo& right) {
    return !(left == right);
}

inline bool operator==(const IMapper::Rect& left, const IMapper::Rect& right) {
    return left.left == right.left && left.top == right.top && left.width == right.width &&
           left.height == right.height;
}
inline bool operator!=(const IMapper::Rect& left, const IMapper::Rect& right) {
    return !(left == right);
}

inline bool operator==(const IMapper::MetadataType& left, const IMapper::MetadataType& right) {
    return left.name == right.name && left.value == right.value;
}
inline bool operator!=(const IMapper::MetadataType& left, const IMapper::MetadataType& right) {
    return !(left == right);
}

inline bool operator==(const IMapper::MetadataTypeDescription& left,
                       const IMapper::MetadataTypeDescription& right) {
    return left.metadataType == right.metadataType && left.description == right.description &&
           left.isGettable == right.isGettable && left.isSettable == right.isSettable;
}
inline bool operator!=(const IMapper::MetadataTypeDescription& left,
                       const IMapper::MetadataTypeDescription& right) {
    return !(left == right);
}

inline bool operator==(const IMapper::MetadataDump& left, const IMapper::MetadataDump& right) {
    return left.metadataType == right.metadataType && left.metadata == right.metadata;
}
inline bool operator!=(const IMapper::MetadataDump& left, const IMapper::MetadataDump& right) {
    return !(left == right);
}

inline bool operator==(const IMapper::BufferDump& left, const IMapper::BufferDump& right) {
    return left.metadataDump == right.metadataDump;
}
inline bool operator!=(const IMapper::BufferDump& left, const IMapper::BufferDump& right) {
    return !(left == right);
}

inline std::string toString(const IMapper::BufferDescriptorInfo& value) {
    return "{.name = " + ::android::hardware::toString(value.name) +
           ", .width = " + ::android::hardware::toString(value.width) +
           ", .height = " + ::android::hardware::toString(value.height) +
           ", .layerCount = " + ::android::hardware::toString(value.layerCount) +
           ", .format = " + ::android::hardware::graphics::common::V1_2::toString(value.format) +
           ", .usage = " +
           ::android::hardware::graphics::common::V1_2::toString<
                   ::android::hardware::graphics::common::V1_2::BufferUsage>(value.usage) +
           ", .reservedSize = " + ::android::hardware::toString(value.reservedSize) + "}";
}
inline void PrintTo(const IMapper::BufferDescriptorInfo& value, ::std::ostream* stream) {
    *stream << toString(value);
}

inline std::string toString(const IMapper::Rect& value) {
    return "{.left = " + ::android::hardware::toString(value.left) +
           ", .top = " + ::android::hardware::toString(value.top) +
           ", .width = " + ::android::hardware::toString(value.width) +
           ", .height = " + ::android::hardware::toString(value.height) + "}";
}
inline void PrintTo(const IMapper::Rect& value, ::std::ostream* stream) {
    *stream << toString(value);
}

inline std::string toString(const IMapper::MetadataType& value) {
    return "{.name = " + ::android::hardware::toString(value.name) +
           ", .value = " + ::android::hardware::toString(value.value) + "}";
}
inline void PrintTo(const IMapper::MetadataType& value, ::std::ostream* stream) {
    *stream << toString(value);
}

inline std::string toString(const IMapper::MetadataTypeDescription& value) {
    return "{.metadataType = " + toString(value.metadataType) +
           ", .description = " + ::android::hardware::toString(value.description) +
           ", .isGettable = " + ::android::hardware::toString(value.isGettable) +
           ", .isSettable = " + ::android::hardware::toString(value.isSettable) + "}";
}
inline void PrintTo(const IMapper::MetadataTypeDescription& value, ::std::ostream* stream) {
    *stream << toString(value);
}

inline std::string toString(const IMapper::MetadataDump& value) {
    return "{.metadataType = " + toString(value.metadataType) +
           ", .metadata = " + ::android::hardware::toString(value.metadata) + "}";
}
inline void PrintTo(const IMapper::MetadataDump& value, ::std::ostream* stream) {
    *stream << toString(value);
}

inline std::string toString(const IMapper::BufferDump& value) {
    return "{.metadataDump = " + ::android::hardware::toString(value.metadataDump) + "}";
}
inline void PrintTo(const IMapper::BufferDump& value, ::std::ostream* stream) {
    *stream << toString(value);
}

}  // namespace V4_0
}  // namespace mapper
}  // namespace graphics
}  // namespace hardware
}  // namespace android
