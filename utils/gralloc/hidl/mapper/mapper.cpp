#include "utils/gralloc/hidl/mapper/mapper.h"

#include <unistd.h>

#include <cerrno>
#include <functional>
#include <optional>

#include "platform/sync.h"
#include "utils/gralloc/Log.h"
#include "utils/gralloc/PlaneWalk.h"
#include "utils/gralloc/UniqueFd.h"

namespace NSCam::GrallocMapper {
namespace {

using android::hardware::Return;
using android::hardware::graphics::mapper::V4_0::Error;
using gralloc::UniqueFd;

constexpr char kLogTag[] = "ZelkCam/GrallocMapper";
constexpr char kSourcePath[] = "utils/gralloc/hidl/mapper/mapper";

constexpr int32_t kNone = static_cast<int32_t>(Error::NONE);
constexpr int32_t kNoResources = static_cast<int32_t>(Error::NO_RESOURCES);

// The interface passes buffers as pointers to what may be written.
void* writable(const native_handle* buffer) {
    return const_cast<native_handle*>(buffer);
}

// The result of every call that answers through a callback: what the callback was given, unless the
// call did not get through.
int32_t callResult(const Return<void>& transport, Error answer) {
    return transport.isOk() ? static_cast<int32_t>(answer) : kNoResources;
}

// Makes `*handle` refer to a native handle in `storage` that holds `fence`; without a fence it
// stays empty.
bool wrapFence(int fence, char* storage, hidl_handle* handle) {
    if (fence < 0) {
        return true;
    }
    native_handle_t* const native = native_handle_init(storage, 1, 0);
    if (native == nullptr) {
        return false;
    }
    native->data[0] = fence;
    *handle = native;
    return true;
}

// Locks with the fence in the form that the mapper takes, closes it, and answers the call's result;
// `onAnswer` runs within the call. Answers nothing when the fence cannot be wrapped.
std::optional<int32_t> lockWithFence(IMapper& mapper, const native_handle* buffer,
                                     uint64_t cpuUsage, const IMapper::Rect& accessRegion,
                                     int acquireFence,
                                     const std::function<void(Error, void*)>& onAnswer) {
    NATIVE_HANDLE_DECLARE_STORAGE(storage, 1, 0);
    hidl_handle fence;
    if (!wrapFence(acquireFence, storage, &fence)) {
        // Contract: the mapper is not called and the fence stays open.
        LOGE_AS("lock", "native_handle_init return null, err=%u",
                static_cast<unsigned int>(kNoResources));
        return std::nullopt;
    }
    const UniqueFd consumed(acquireFence);
    Error error = Error::NO_RESOURCES;
    const Return<void> transport = mapper.lock(writable(buffer), cpuUsage, accessRegion, fence,
                                               [&](Error answer, void* data) {
                                                   error = answer;
                                                   onAnswer(answer, data);
                                               });
    return callResult(transport, error);
}

}  // namespace

Mapper::Mapper() : mMapper(IMapper::getService("default", false)) {
    if (mMapper != nullptr && mMapper->isRemote()) {
        LOGF("gralloc-mapper must be in passthrough mode");
    }
}

int32_t Mapper::createDescriptor(const IMapper::BufferDescriptorInfo& descriptorInfo,
                                 hidl_vec<uint8_t>* outDescriptor) const {
    Error error = Error::NO_RESOURCES;
    const Return<void> transport = mMapper->createDescriptor(
            descriptorInfo, [&](Error answer, const hidl_vec<uint8_t>& descriptor) {
                error = answer;
                if (answer == Error::NONE) {
                    *outDescriptor = descriptor;
                }
            });
    return callResult(transport, error);
}

int32_t Mapper::importBuffer(const hidl_handle& rawHandle, const native_handle** outBuffer) const {
    Error error = Error::NO_RESOURCES;
    const Return<void> transport =
            mMapper->importBuffer(rawHandle, [&](Error answer, void* buffer) {
                error = answer;
                if (answer == Error::NONE) {
                    *outBuffer = static_cast<const native_handle*>(buffer);
                }
            });
    return callResult(transport, error);
}

int32_t Mapper::freeBuffer(const native_handle* buffer) const {
    const Return<Error> answer = mMapper->freeBuffer(writable(buffer));
    const int32_t error = answer.isOk() ? static_cast<int32_t>(Error(answer)) : kNoResources;
    if (error != kNone) {
        LOGE("freeBuffer(%p) failed with %d", buffer, error);
    }
    return error;
}

int32_t Mapper::lock(const native_handle* buffer, uint64_t cpuUsage,
                     const IMapper::Rect& accessRegion, int acquireFence, void** outData) const {
    const std::optional<int32_t> result = lockWithFence(
            *mMapper, buffer, cpuUsage, accessRegion, acquireFence, [&](Error error, void* data) {
                if (error == Error::NONE) {
                    *outData = data;
                } else {
                    LOGE("IMapper->lock error happen, err=%u", static_cast<unsigned int>(error));
                }
            });
    return result.value_or(kNoResources);
}

int32_t Mapper::lock(const native_handle* buffer, uint64_t cpuUsage,
                     const IMapper::Rect& accessRegion, int acquireFence, void** outData,
                     int* outBytesPerPixel, int* outBytesPerStride) const {
    std::vector<PlaneLayout> planes;
    if (getPlaneLayouts(buffer, &planes) == kNone) {
        gralloc::tellPixelAndStride(planes, outBytesPerPixel, outBytesPerStride);
    }

    const std::optional<int32_t> result = lockWithFence(
            *mMapper, buffer, cpuUsage, accessRegion, acquireFence, [&](Error answer, void* data) {
                if (answer == Error::NONE) {
                    *outData = data;
                }
            });
    // A fence that cannot be wrapped has had its line.
    if (!result) {
        return kNoResources;
    }
    // Contract: this one line bypasses the gates and the switchboard.
    if (*result != kNone) {
        __android_log_print(ANDROID_LOG_WARN, kLogTag, "lock(%p, ...) failed: %d", buffer, *result);
    }
    return *result;
}

int32_t Mapper::lock(const native_handle* buffer, uint64_t cpuUsage,
                     const IMapper::Rect& accessRegion, int acquireFence,
                     android_ycbcr* outYcbcr) const {
    // Contract: up to the inner lock the fence is not consumed; a caller that does not close it
    // then leaks it.
    if (outYcbcr == nullptr) {
        return -EINVAL;
    }
    std::vector<PlaneLayout> planes;
    if (const int32_t error = getPlaneLayouts(buffer, &planes); error != kNone) {
        return error;
    }

    void* data = nullptr;
    // The inner lock reads the layouts again, although its outputs are null: the chosen cost.
    if (const int32_t error =
                lock(buffer, cpuUsage, accessRegion, acquireFence, &data, nullptr, nullptr);
        error != kNone) {
        return error;
    }

    gralloc::YcbcrWalk walk(data);
    for (const PlaneLayout& plane : planes) {
        if (walk.add(plane)) {
            continue;
        }
        // Contract: the release fence of this unlock is dropped without being closed; each such
        // failure leaves a descriptor behind when the mapper gives one.
        unlock(buffer);
        return -EINVAL;
    }
    *outYcbcr = walk.description();
    return kNone;
}

int Mapper::unlock(const native_handle* buffer) const {
    int releaseFence = -1;
    Error error = Error::NO_RESOURCES;
    const Return<void> transport =
            mMapper->unlock(writable(buffer), [&](Error answer, const hidl_handle& handle) {
                error = answer;
                const native_handle_t* const fence = handle.getNativeHandle();
                // Contract: a handle of several descriptors is no fence.
                if (answer != Error::NONE || fence == nullptr || fence->numFds != 1) {
                    return;
                }
                // The handle is the mapper's and ends with this call.
                releaseFence = dup(fence->data[0]);
                if (releaseFence < 0) {
                    LOGD("failed to dup unlock release fence");
                    sync_wait(fence->data[0], -1);
                }
            });
    const int32_t result = callResult(transport, error);
    if (result != kNone) {
        LOGE("unlock(%p) failed with %d", buffer, result);
    }
    return releaseFence;
}

int32_t Mapper::getPlaneLayouts(const native_handle* buffer,
                                std::vector<PlaneLayout>* outPlaneLayouts) const {
    if (outPlaneLayouts == nullptr) {
        return -EINVAL;
    }
    const IMapper::MetadataType& type = android::gralloc4::MetadataType_PlaneLayouts;
    Error error = Error::NO_RESOURCES;
    hidl_vec<uint8_t> bytes;
    const Return<void> transport = mMapper->get(
            writable(buffer), type, [&](Error answer, const hidl_vec<uint8_t>& metadata) {
                error = answer;
                bytes = metadata;
            });
    const int32_t result = callResult(transport, error);
    if (result != kNone) {
        // Contract: this one line bypasses the switchboard.
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "get(%s, %lu, ...) failed with %d",
                            type.name.c_str(), static_cast<unsigned long>(type.value), result);
        return result;
    }
    return android::gralloc4::decodePlaneLayouts(bytes, outPlaneLayouts);
}

}  // namespace NSCam::GrallocMapper
