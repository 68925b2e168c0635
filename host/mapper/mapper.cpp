// mapper.default.so: the stable C face of the host's buffers. Translates arguments and results; all
// that a buffer does is in host/gralloc, which this mapper shares with the HIDL mapper.
#include <android/hardware/graphics/mapper/IMapper.h>

#include "host/gralloc/Gralloc.h"
#include "host/gralloc/Imports.h"
#include "host/gralloc/MetadataList.h"

namespace {

using namespace zelkcam::host::gralloc;

template <typename Use>
AIMapper_Error with(buffer_handle_t handle, Use&& use) {
    return gralloc().with(handle, use);
}

AIMapper_Error importBuffer(const native_handle_t* handle, buffer_handle_t* outBufferHandle) {
    if (outBufferHandle == nullptr) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    return gralloc().importBuffer(handle, outBufferHandle);
}

AIMapper_Error freeBuffer(buffer_handle_t handle) {
    return gralloc().freeBuffer(handle);
}

// Another process needs all of the handle.
AIMapper_Error getTransportSize(buffer_handle_t handle, uint32_t* outNumFds, uint32_t* outNumInts) {
    return with(handle, [&](const ImportedBuffer&) {
        *outNumFds = kFdCount;
        *outNumInts = kIntCount;
        return AIMAPPER_ERROR_NONE;
    });
}

// Contract: whether the acquire fence is closed here, as the published interface has it, or stays
// open is the device's: real mappers differ, and the default leaves it to the caller.
AIMapper_Error lock(buffer_handle_t handle, uint64_t cpuUsage, ARect region, int acquireFence,
                    void** outData) {
    static const bool closes =
            deviceTraits().acquireFence == zelkcam::profile::AcquireFence::kClosed;
    const ScopedFileDescriptor closed(closes ? acquireFence : -1);
    return gralloc().lock(handle, cpuUsage, {region.left, region.top, region.right, region.bottom},
                          acquireFence, outData);
}

AIMapper_Error unlock(buffer_handle_t handle, int* releaseFence) {
    ScopedFileDescriptor fence;
    const AIMapper_Error error = gralloc().unlock(handle, &fence);
    if (error == AIMAPPER_ERROR_NONE && releaseFence != nullptr) {
        *releaseFence = fence.release();
    }
    return error;
}

AIMapper_Error flushLockedBuffer(buffer_handle_t handle) {
    return with(handle, [](const ImportedBuffer& buffer) { return buffer.flush(); });
}

AIMapper_Error rereadLockedBuffer(buffer_handle_t handle) {
    return with(handle, [](const ImportedBuffer& buffer) { return buffer.reread(); });
}

int32_t getMetadata(buffer_handle_t handle, AIMapper_MetadataType type, void* destination,
                    size_t destinationSize) {
    if (type.name == nullptr) {
        return gralloc().find(handle) != nullptr ? -AIMAPPER_ERROR_UNSUPPORTED
                                                 : -AIMAPPER_ERROR_BAD_BUFFER;
    }
    return gralloc().getMetadata(handle, type.name, type.value, destination, destinationSize);
}

int32_t getStandardMetadata(buffer_handle_t handle, int64_t type, void* destination,
                            size_t destinationSize) {
    return getMetadata(handle, {kStandardTypeName.data(), type}, destination, destinationSize);
}

AIMapper_Error setMetadata(buffer_handle_t handle, AIMapper_MetadataType type, const void* metadata,
                           size_t metadataSize) {
    const auto buffer = gralloc().find(handle);
    if (buffer == nullptr) {
        return static_cast<AIMapper_Error>(deviceTraits().foreignSet);
    }
    if (type.name == nullptr || (metadata == nullptr && metadataSize != 0)) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    return buffer->setMetadata(type.name, type.value,
                               {static_cast<const uint8_t*>(metadata), metadataSize});
}

AIMapper_Error setStandardMetadata(buffer_handle_t handle, int64_t type, const void* metadata,
                                   size_t metadataSize) {
    return setMetadata(handle, {kStandardTypeName.data(), type}, metadata, metadataSize);
}

AIMapper_Error listSupportedMetadataTypes(
        const AIMapper_MetadataTypeDescription** outDescriptionList,
        size_t* outNumberOfDescriptions) {
    const auto descriptions = supportedMetadata();
    *outDescriptionList = descriptions.data();
    *outNumberOfDescriptions = descriptions.size();
    return AIMAPPER_ERROR_NONE;
}

void dump(const ImportedBuffer& buffer, AIMapper_DumpBufferCallback callback, void* context) {
    forEachValue(buffer, [&](const AIMapper_MetadataType& type, std::span<const uint8_t> value) {
        callback(context, type, value.data(), value.size());
    });
}

AIMapper_Error dumpBuffer(buffer_handle_t handle, AIMapper_DumpBufferCallback callback,
                          void* context) {
    return with(handle, [&](const ImportedBuffer& buffer) {
        dump(buffer, callback, context);
        return AIMAPPER_ERROR_NONE;
    });
}

AIMapper_Error dumpAllBuffers(AIMapper_BeginDumpBufferCallback begin,
                              AIMapper_DumpBufferCallback callback, void* context) {
    for (const auto& buffer : Imports::ofProcess().all()) {
        begin(context);
        dump(*buffer, callback, context);
    }
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error getReservedRegion(buffer_handle_t handle, void** outReservedRegion,
                                 uint64_t* outReservedSize) {
    return with(handle, [&](const ImportedBuffer& buffer) {
        const auto region = buffer.reservedRegion();
        *outReservedRegion = region.data();
        *outReservedSize = region.size();
        return AIMAPPER_ERROR_NONE;
    });
}

AIMapper gMapper = {
        .version = AIMAPPER_VERSION_5,
        .v5 =
                {
                        .importBuffer = importBuffer,
                        .freeBuffer = freeBuffer,
                        .getTransportSize = getTransportSize,
                        .lock = lock,
                        .unlock = unlock,
                        .flushLockedBuffer = flushLockedBuffer,
                        .rereadLockedBuffer = rereadLockedBuffer,
                        .getMetadata = getMetadata,
                        .getStandardMetadata = getStandardMetadata,
                        .setMetadata = setMetadata,
                        .setStandardMetadata = setStandardMetadata,
                        .listSupportedMetadataTypes = listSupportedMetadataTypes,
                        .dumpBuffer = dumpBuffer,
                        .dumpAllBuffers = dumpAllBuffers,
                        .getReservedRegion = getReservedRegion,
                },
};

}  // namespace

#define ZELKCAM_EXPORT __attribute__((visibility("default")))

extern "C" {

// Both names are looked up: the interface's text has the first, its conformance tests the second.
ZELKCAM_EXPORT extern const uint32_t ANDROID_HAL_STABLEC_VERSION = AIMAPPER_VERSION_5;
ZELKCAM_EXPORT extern const uint32_t ANDROID_HAL_MAPPER_VERSION = AIMAPPER_VERSION_5;

ZELKCAM_EXPORT AIMapper_Error AIMapper_loadIMapper(AIMapper** outImplementation) {
    if (outImplementation == nullptr) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    *outImplementation = &gMapper;
    return AIMAPPER_ERROR_NONE;
}

}  // extern "C"
