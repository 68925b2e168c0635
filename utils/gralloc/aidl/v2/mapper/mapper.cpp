#include "utils/gralloc/aidl/v2/mapper/mapper.h"

#include <dlfcn.h>

#include <string>
#include <utility>

#include "platform/properties.h"
#include "utils/gralloc/Log.h"
#include "utils/gralloc/PlaneWalk.h"
#include "utils/gralloc/UniqueFd.h"
#include "utils/gralloc/aidl/v2/mapper/MapperCall.h"

namespace NSCam::GrallocMapperAidlV2 {
namespace {

using gralloc::UniqueFd;

// The buffer locked at `data` as its planes describe it, or nothing when android_ycbcr cannot
// represent it.
std::optional<android_ycbcr> describeYcbcr(const std::vector<PlaneLayout>& planes, void* data,
                                           bool dump) {
    gralloc::YcbcrWalk walk(data);
    for (const PlaneLayout& plane : planes) {
        if (dump) {
            LOGD_AS("lock", "%s", plane.toString().c_str());
        }
        if (!walk.add(plane)) {
            return std::nullopt;
        }
    }
    android_ycbcr ycbcr = walk.description();
    // A single plane whose mapper describes no components is all luma.
    if (planes.size() == 1 && planes.front().components.empty()) {
        ycbcr.y = gralloc::addressAt(data, planes.front().offsetInBytes);
        ycbcr.ystride = static_cast<size_t>(planes.front().strideInBytes);
    }
    return ycbcr;
}

[[gnu::cold, gnu::noinline]] void tellFailure(const char* function, const native_handle* buffer,
                                              AIMapper_Error error) {
    LOGE_AS(function, "%s(%p) failed with %d", function, buffer, error);
}

[[gnu::cold, gnu::noinline]] void tellLockFailure(AIMapper_Error error) {
    LOGE_AS("lock", "IMapper->lock error happen, err=%u", static_cast<unsigned int>(error));
}

}  // namespace

std::vector<uint8_t> zeroedBytes(size_t size) {
    return std::vector<uint8_t>(size);
}

// Ends the process. Unlike LOGF it does not ask whether error output is wanted, and it makes the
// switchboard write out what it holds, this line included.
#define FATAL_AND_FLUSH(message)                                                              \
    do {                                                                                      \
        if (gralloc::log::switchboardWanted()) {                                              \
            gralloc::log::writeToSwitchboard(kLogTag, gralloc::log::kError,                   \
                                             ZELKCAM_LOG_PREFIX message, __func__);           \
            if (auto* const switchboard = gralloc::log::ULogger::sULogger) {                  \
                switchboard->flush(1);                                                        \
            }                                                                                 \
        }                                                                                     \
        __android_log_assert(nullptr, kLogTag, ZELKCAM_LOG_PREFIX message ZELKCAM_LOG_SUFFIX, \
                             __func__, __func__, __LINE__, kSourcePath);                      \
    } while (0)

MapperV5::MapperV5(std::shared_ptr<IAllocator> allocator) : mAllocator(std::move(allocator)) {
    std::string suffix;
    if (!mAllocator->getIMapperLibrarySuffix(&suffix).isOk()) {
        FATAL_AND_FLUSH("getIMapperLibrarySuffix fail");
    }

    const std::string name = "mapper." + suffix + ".so";
    void* const library = android_load_sphal_library(name.c_str(), RTLD_NOW);
    if (library == nullptr) {
        FATAL_AND_FLUSH("android_load_sphal_library fail");
    }

    const auto load = reinterpret_cast<decltype(&AIMapper_loadIMapper)>(
            dlsym(library, "AIMapper_loadIMapper"));
    if (load == nullptr) {
        FATAL_AND_FLUSH("AIMapper_loadIMapper missing");
    }

    // Contract: only the pointer decides whether there is a mapper; neither the entry's result nor
    // the record's version is looked at.
    AIMapper* implementation = nullptr;
    load(&implementation);
    if (implementation == nullptr) {
        FATAL_AND_FLUSH("AIMapper_loadIMapper fail");
    }

    mMapper = std::make_shared<AIMapper>(*implementation);
    mLogLevel = property_get_int32("debug.zelkcam.utils.gralloc.loglevel", 0);
}

int32_t MapperV5::importBuffer(const native_handle* rawHandle,
                               const native_handle** outBuffer) const {
    return callAndFlush(mMapper->v5.importBuffer, rawHandle, outBuffer);
}

int32_t MapperV5::freeBuffer(const native_handle* buffer) const {
    const AIMapper_Error error = callAndFlush(mMapper->v5.freeBuffer, buffer);
    if (error != AIMAPPER_ERROR_NONE) {
        tellFailure("freeBuffer", buffer, error);
    }
    return error;
}

int32_t MapperV5::lock(const native_handle* buffer, uint64_t cpuUsage, const ARect& accessRegion,
                       int acquireFence, void** outData) const {
    // Contract: the fence is closed here, although the published interface has the mapper close it.
    const UniqueFd consumed(acquireFence);
    const AIMapper_Error error =
            callAndFlush(mMapper->v5.lock, buffer, cpuUsage, accessRegion, acquireFence, outData);
    if (error != AIMAPPER_ERROR_NONE) {
        tellLockFailure(error);
    }
    return error;
}

int32_t MapperV5::lock(const native_handle* buffer, uint64_t cpuUsage, const ARect& accessRegion,
                       int acquireFence, void** outData, int* outBytesPerPixel,
                       int* outBytesPerStride) const {
    std::vector<PlaneLayout> planes;
    if (getPlaneLayouts(buffer, &planes) == AIMAPPER_ERROR_NONE) {
        gralloc::tellPixelAndStride(planes, outBytesPerPixel, outBytesPerStride);
    }

    UniqueFd consumed(acquireFence);
    const AIMapper_Error error =
            callAndFlush(mMapper->v5.lock, buffer, cpuUsage, accessRegion, acquireFence, outData);
    consumed.reset();
    // Contract: this one line bypasses the gates and the switchboard.
    if (error != AIMAPPER_ERROR_NONE) {
        __android_log_print(ANDROID_LOG_WARN, kLogTag, "lock(%p, ...) failed: %d", buffer, error);
    }
    return error;
}

int32_t MapperV5::lock(const native_handle* buffer, uint64_t cpuUsage, const ARect& accessRegion,
                       int acquireFence, android_ycbcr* outYcbcr) const {
    // Contract: up to the inner lock the fence is not consumed; a caller that does not close it
    // then leaks it.
    if (outYcbcr == nullptr) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    std::vector<PlaneLayout> planes;
    if (const int32_t error = getPlaneLayouts(buffer, &planes); error != AIMAPPER_ERROR_NONE) {
        return error;
    }

    void* data = nullptr;
    // The inner lock reads the layouts again, although its outputs are null: the chosen cost.
    if (const int32_t error =
                lock(buffer, cpuUsage, accessRegion, acquireFence, &data, nullptr, nullptr);
        error != AIMAPPER_ERROR_NONE) {
        return error;
    }

    const auto ycbcr = describeYcbcr(planes, data, mLogLevel != 0);
    if (!ycbcr) {
        // Contract: the release fence of this unlock is dropped without being closed; each such
        // failure leaves a descriptor behind when the mapper gives one.
        unlock(buffer);
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    *outYcbcr = *ycbcr;
    return AIMAPPER_ERROR_NONE;
}

int MapperV5::unlock(const native_handle* buffer) const {
    int releaseFence = -1;
    const AIMapper_Error error = callAndFlush(mMapper->v5.unlock, buffer, &releaseFence);
    if (error != AIMAPPER_ERROR_NONE) {
        tellFailure("unlock", buffer, error);
    }
    return releaseFence;
}

void MapperV5::ipcFlushCommands() const {
    flushThread();
}

}  // namespace NSCam::GrallocMapperAidlV2
