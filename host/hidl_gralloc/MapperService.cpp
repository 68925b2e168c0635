#include "host/hidl_gralloc/MapperService.h"

#include <algorithm>
#include <string>

#include <gralloctypes/Gralloc4.h>

#include "host/gralloc/Imports.h"
#include "host/gralloc/MetadataList.h"
#include "host/hidl_gralloc/Descriptions.h"

namespace zelkcam::host {
namespace {

using gralloc::ImportedBuffer;
using gralloc::Imports;
using gralloc::ScopedFileDescriptor;

using Error = MapperService::Error;
using Bytes = MapperService::Bytes;
using Handle = MapperService::Handle;
using android::hardware::Void;

// The codes of the two mappers are the same numbers.
static_assert(static_cast<int32_t>(Error::BAD_DESCRIPTOR) == AIMAPPER_ERROR_BAD_DESCRIPTOR &&
              static_cast<int32_t>(Error::BAD_BUFFER) == AIMAPPER_ERROR_BAD_BUFFER &&
              static_cast<int32_t>(Error::BAD_VALUE) == AIMAPPER_ERROR_BAD_VALUE &&
              static_cast<int32_t>(Error::NO_RESOURCES) == AIMAPPER_ERROR_NO_RESOURCES &&
              static_cast<int32_t>(Error::UNSUPPORTED) == AIMAPPER_ERROR_UNSUPPORTED);

Error hidl(AIMapper_Error error) {
    return static_cast<Error>(error);
}

std::shared_ptr<ImportedBuffer> find(void* buffer) {
    return Imports::ofProcess().find(static_cast<buffer_handle_t>(buffer));
}

Bytes toHidl(std::span<const uint8_t> bytes) {
    Bytes copy;
    copy.resize(bytes.size());
    std::ranges::copy(bytes, copy.begin());
    return copy;
}

std::string_view nameOf(const MapperService::MetadataType& type) {
    return {type.name.c_str(), type.name.size()};
}

// Null and a handle without anything stand for no fence; whatever is no fence either becomes an
// error.
bool fenceOf(const Handle& handle, int* fence) {
    const native_handle_t* native = handle.getNativeHandle();
    if (native == nullptr || (native->numFds == 0 && native->numInts == 0)) {
        *fence = -1;
        return true;
    }
    *fence = native->data[0];
    return native->numFds == 1 && native->numInts == 0;
}

gralloc::Region toRegion(const MapperService::Rect& rect) {
    return {rect.left, rect.top, int64_t{rect.left} + rect.width, int64_t{rect.top} + rect.height};
}

// Hands the fence out for the time of the callback, as a handle of one descriptor or of none.
template <typename Callback>
void answerFence(Error error, const ScopedFileDescriptor& fence, const Callback& callback) {
    NATIVE_HANDLE_DECLARE_STORAGE(storage, 1, 0);
    if (error != Error::NONE || fence.get() < 0) {
        callback(error, nullptr);
        return;
    }
    native_handle_t* native = native_handle_init(storage, 1, 0);
    native->data[0] = fence.get();
    callback(error, Handle(native));
}

MapperService::BufferDump dump(const ImportedBuffer& buffer) {
    std::vector<MapperService::MetadataDump> values;
    gralloc::forEachValue(buffer,
                          [&](const AIMapper_MetadataType& type, std::span<const uint8_t> value) {
                              values.push_back({{type.name, type.value}, toHidl(value)});
                          });
    return {values};
}

// What `get` answers for a fresh buffer. A buffer that does not exist has no id.
AIMapper_Error predict(const gralloc::Description& description, std::string_view typeName,
                       int64_t type, Bytes* value) {
    gralloc::Layout layout{};
    const AIMapper_Error error = gralloc::check(description, &layout);
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    const int settable = gralloc::findSettable(typeName, type);
    if (settable >= 0) {
        *value = toHidl(gralloc::initialValue(gralloc::kSettableRules[settable]));
        return AIMAPPER_ERROR_NONE;
    }
    constexpr auto kBufferId = static_cast<int64_t>(gralloc::StandardMetadataType::BUFFER_ID);
    if (typeName != gralloc::kStandardTypeName || type <= kBufferId ||
        type > gralloc::kLastStandardType) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    *value = toHidl(gralloc::encodeConstants(description, layout, 0).value(type));
    return AIMAPPER_ERROR_NONE;
}

}  // namespace

auto MapperService::createDescriptor(const BufferDescriptorInfo& description,
                                     createDescriptor_cb callback) -> Return<void> {
    gralloc::Layout layout{};
    const AIMapper_Error error = gralloc::check(describe(description), &layout);
    Bytes descriptor;
    if (error == AIMAPPER_ERROR_NONE) {
        android::gralloc4::encodeBufferDescriptorInfo(description, &descriptor);
    }
    callback(hidl(error), descriptor);
    return Void();
}

auto MapperService::importBuffer(const Handle& rawHandle, importBuffer_cb callback)
        -> Return<void> {
    buffer_handle_t imported = nullptr;
    const AIMapper_Error error = Imports::ofProcess().add(rawHandle.getNativeHandle(), &imported);
    callback(hidl(error), const_cast<native_handle_t*>(imported));
    return Void();
}

auto MapperService::freeBuffer(void* buffer) -> Return<Error> {
    return hidl(Imports::ofProcess().remove(static_cast<buffer_handle_t>(buffer)));
}

// The buffer is large enough when it was laid out at least as large as the description demands.
auto MapperService::validateBufferSize(void* buffer, const BufferDescriptorInfo& description,
                                       uint32_t stride) -> Return<Error> {
    const auto imported = find(buffer);
    if (imported == nullptr) {
        return Error::BAD_BUFFER;
    }
    gralloc::Layout demanded{};
    const AIMapper_Error error = gralloc::check(describe(description), &demanded);
    if (error != AIMAPPER_ERROR_NONE) {
        return Error::BAD_VALUE;
    }
    const gralloc::Layout& given = imported->layout();
    const bool fits = demanded.rule == given.rule && demanded.stride <= given.stride &&
                      demanded.allocationSize <= given.allocationSize && stride == given.stride;
    return fits ? Error::NONE : Error::BAD_VALUE;
}

auto MapperService::getTransportSize(void* buffer, getTransportSize_cb callback) -> Return<void> {
    if (find(buffer) == nullptr) {
        callback(Error::BAD_BUFFER, 0, 0);
    } else {
        callback(Error::NONE, gralloc::kFdCount, gralloc::kIntCount);
    }
    return Void();
}

auto MapperService::lock(void* buffer, uint64_t cpuUsage, const Rect& accessRegion,
                         const Handle& acquireFence, lock_cb callback) -> Return<void> {
    const auto imported = find(buffer);
    int fence = -1;
    void* data = nullptr;
    Error error = Error::BAD_BUFFER;
    if (imported != nullptr) {
        error = fenceOf(acquireFence, &fence)
                        ? hidl(imported->lock(cpuUsage, toRegion(accessRegion), fence, &data))
                        : Error::BAD_VALUE;
    }
    callback(error, data);
    return Void();
}

auto MapperService::unlock(void* buffer, unlock_cb callback) -> Return<void> {
    const auto imported = find(buffer);
    ScopedFileDescriptor fence;
    const Error error = imported != nullptr ? hidl(imported->unlock(&fence)) : Error::BAD_BUFFER;
    answerFence(error, fence, callback);
    return Void();
}

// All importers share the same pages, so there is nothing to move for a flush or a reread.
auto MapperService::flushLockedBuffer(void* buffer, flushLockedBuffer_cb callback) -> Return<void> {
    answerFence(rereadLockedBuffer(buffer), ScopedFileDescriptor(), callback);
    return Void();
}

auto MapperService::rereadLockedBuffer(void* buffer) -> Return<Error> {
    const auto imported = find(buffer);
    return imported != nullptr && imported->isLocked() ? Error::NONE : Error::BAD_BUFFER;
}

auto MapperService::isSupported(const BufferDescriptorInfo& description, isSupported_cb callback)
        -> Return<void> {
    gralloc::Layout layout{};
    callback(Error::NONE, gralloc::check(describe(description), &layout) == AIMAPPER_ERROR_NONE);
    return Void();
}

auto MapperService::get(void* buffer, const MetadataType& metadataType, get_cb callback)
        -> Return<void> {
    const auto imported = find(buffer);
    if (imported == nullptr) {
        callback(Error::BAD_BUFFER, {});
        return Void();
    }
    std::vector<uint8_t> value;
    const AIMapper_Error error =
            gralloc::readWhole(*imported, nameOf(metadataType), metadataType.value, &value);
    callback(hidl(error), error == AIMAPPER_ERROR_NONE ? Bytes(value) : Bytes());
    return Void();
}

auto MapperService::set(void* buffer, const MetadataType& metadataType, const Bytes& metadata)
        -> Return<Error> {
    const auto imported = find(buffer);
    if (imported == nullptr) {
        return Error::BAD_BUFFER;
    }
    return hidl(imported->setMetadata(nameOf(metadataType), metadataType.value,
                                      {metadata.data(), metadata.size()}));
}

auto MapperService::getFromBufferDescriptorInfo(const BufferDescriptorInfo& description,
                                                const MetadataType& metadataType,
                                                getFromBufferDescriptorInfo_cb callback)
        -> Return<void> {
    Bytes value;
    const AIMapper_Error error =
            predict(describe(description), nameOf(metadataType), metadataType.value, &value);
    callback(hidl(error), value);
    return Void();
}

auto MapperService::listSupportedMetadataTypes(listSupportedMetadataTypes_cb callback)
        -> Return<void> {
    std::vector<MetadataTypeDescription> list;
    for (const AIMapper_MetadataTypeDescription& known : gralloc::supportedMetadata()) {
        list.push_back({{known.metadataType.name, known.metadataType.value},
                        known.description,
                        known.isGettable,
                        known.isSettable});
    }
    callback(Error::NONE, list);
    return Void();
}

auto MapperService::dumpBuffer(void* buffer, dumpBuffer_cb callback) -> Return<void> {
    const auto imported = find(buffer);
    if (imported == nullptr) {
        callback(Error::BAD_BUFFER, {});
    } else {
        callback(Error::NONE, dump(*imported));
    }
    return Void();
}

auto MapperService::dumpBuffers(dumpBuffers_cb callback) -> Return<void> {
    std::vector<BufferDump> dumps;
    for (const auto& buffer : Imports::ofProcess().all()) {
        dumps.push_back(dump(*buffer));
    }
    callback(Error::NONE, dumps);
    return Void();
}

auto MapperService::getReservedRegion(void* buffer, getReservedRegion_cb callback) -> Return<void> {
    const auto imported = find(buffer);
    if (imported == nullptr) {
        callback(Error::BAD_BUFFER, nullptr, 0);
        return Void();
    }
    const auto region = imported->reservedRegion();
    callback(Error::NONE, region.data(), region.size());
    return Void();
}

}  // namespace zelkcam::host
