#include "host/hidl_gralloc/MapperService.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include <gralloctypes/Gralloc4.h>

#include "host/gralloc/Gralloc.h"
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

buffer_handle_t handleOf(void* buffer) {
    return static_cast<buffer_handle_t>(buffer);
}

template <typename Use>
Error with(void* buffer, Use&& use) {
    return hidl(gralloc::gralloc().with(handleOf(buffer), use));
}

// The same where the device answers to what is no import as it likes.
template <typename Use>
Error withMetadata(void* buffer, int32_t foreign, Use&& use) {
    const auto imported = gralloc::gralloc().find(handleOf(buffer));
    return hidl(imported != nullptr ? use(*imported) : static_cast<AIMapper_Error>(foreign));
}

gralloc::Description describe(const MapperService::BufferDescriptorInfo& info) {
    return gralloc::describe({info.name.c_str(), info.name.size()}, info);
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

// Null and a handle without anything represent no fence; whatever is no fence either becomes an
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
    gralloc::Layout layout;
    const AIMapper_Error error = gralloc::decide(description, &layout);
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    const auto refused = std::ranges::find(layout.refused, type, &profile::Refused::type);
    if (refused != layout.refused.end() && typeName == gralloc::kStandardTypeName) {
        return static_cast<AIMapper_Error>(std::abs(refused->code));
    }
    const int settable = gralloc::findSettable(typeName, type);
    if (settable >= 0) {
        *value = toHidl(gralloc::initialValue(gralloc::kSettableRules[settable],
                                              gralloc::Dataspace::UNKNOWN));
        return AIMAPPER_ERROR_NONE;
    }
    constexpr auto kBufferId = static_cast<int64_t>(gralloc::StandardMetadataType::BUFFER_ID);
    const auto constants = gralloc::encodeConstants(description, layout, 0);
    if (typeName != gralloc::kStandardTypeName || type <= kBufferId ||
        type > gralloc::kLastStandardType || !constants) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    *value = toHidl(constants->value(type));
    return AIMAPPER_ERROR_NONE;
}

}  // namespace

auto MapperService::createDescriptor(const BufferDescriptorInfo& description,
                                     createDescriptor_cb callback) -> Return<void> {
    gralloc::Layout layout;
    const AIMapper_Error error = gralloc::decide(describe(description), &layout);
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
    const AIMapper_Error error =
            gralloc::gralloc().importBuffer(rawHandle.getNativeHandle(), &imported);
    callback(hidl(error), const_cast<native_handle_t*>(imported));
    return Void();
}

auto MapperService::freeBuffer(void* buffer) -> Return<Error> {
    return hidl(gralloc::gralloc().freeBuffer(handleOf(buffer)));
}

// The buffer is large enough when it was laid out at least as large as the description demands.
auto MapperService::validateBufferSize(void* buffer, const BufferDescriptorInfo& description,
                                       uint32_t stride) -> Return<Error> {
    return with(buffer, [&](const ImportedBuffer& imported) {
        gralloc::Layout demanded;
        const AIMapper_Error error = gralloc::decide(describe(description), &demanded);
        const gralloc::Layout& given = imported.layout();
        const bool fits = error == AIMAPPER_ERROR_NONE && demanded.format == given.format &&
                          demanded.stride <= given.stride &&
                          demanded.allocationSize <= given.allocationSize && stride == given.stride;
        return fits ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_BAD_VALUE;
    });
}

auto MapperService::getTransportSize(void* buffer, getTransportSize_cb callback) -> Return<void> {
    const bool known = gralloc::gralloc().find(handleOf(buffer)) != nullptr;
    callback(known ? Error::NONE : Error::BAD_BUFFER, known ? +gralloc::kFdCount : 0,
             known ? +gralloc::kIntCount : 0);
    return Void();
}

auto MapperService::lock(void* buffer, uint64_t cpuUsage, const Rect& accessRegion,
                         const Handle& acquireFence, lock_cb callback) -> Return<void> {
    void* data = nullptr;
    int fence = -1;
    const AIMapper_Error error =
            fenceOf(acquireFence, &fence)
                    ? gralloc::gralloc().lock(handleOf(buffer), cpuUsage, toRegion(accessRegion),
                                              fence, &data)
                    : AIMAPPER_ERROR_BAD_VALUE;
    callback(hidl(error), data);
    return Void();
}

auto MapperService::unlock(void* buffer, unlock_cb callback) -> Return<void> {
    ScopedFileDescriptor fence;
    const Error error = hidl(gralloc::gralloc().unlock(handleOf(buffer), &fence));
    answerFence(error, fence, callback);
    return Void();
}

auto MapperService::flushLockedBuffer(void* buffer, flushLockedBuffer_cb callback) -> Return<void> {
    const Error error =
            with(buffer, [](const ImportedBuffer& imported) { return imported.flush(); });
    answerFence(error, ScopedFileDescriptor(), callback);
    return Void();
}

auto MapperService::rereadLockedBuffer(void* buffer) -> Return<Error> {
    return with(buffer, [](const ImportedBuffer& imported) { return imported.reread(); });
}

auto MapperService::isSupported(const BufferDescriptorInfo& description, isSupported_cb callback)
        -> Return<void> {
    gralloc::Layout layout;
    callback(Error::NONE, gralloc::decide(describe(description), &layout) == AIMAPPER_ERROR_NONE);
    return Void();
}

auto MapperService::get(void* buffer, const MetadataType& metadataType, get_cb callback)
        -> Return<void> {
    std::vector<uint8_t> value;
    const auto read = [&](const ImportedBuffer& imported) {
        return gralloc::readWhole(imported, nameOf(metadataType), metadataType.value, &value);
    };
    const Error error = withMetadata(buffer, -gralloc::deviceTraits().foreignRead, read);
    callback(error, error == Error::NONE ? Bytes(value) : Bytes());
    return Void();
}

auto MapperService::set(void* buffer, const MetadataType& metadataType, const Bytes& metadata)
        -> Return<Error> {
    return withMetadata(buffer, gralloc::deviceTraits().foreignSet, [&](ImportedBuffer& imported) {
        return imported.setMetadata(nameOf(metadataType), metadataType.value,
                                    {metadata.data(), metadata.size()});
    });
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
    BufferDump values;
    const Error error = with(buffer, [&](const ImportedBuffer& imported) {
        values = dump(imported);
        return AIMAPPER_ERROR_NONE;
    });
    callback(error, values);
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
    std::span<std::byte> region;
    const Error error = with(buffer, [&](const ImportedBuffer& imported) {
        region = imported.reservedRegion();
        return AIMAPPER_ERROR_NONE;
    });
    callback(error, region.data(), region.size());
    return Void();
}

}  // namespace zelkcam::host
