// The made-up devices as an allocator service and a mapper library. Loaded before a program, the
// library registers the service of the device that MADE_UP_DEVICE names; its buffers are a piece of
// memory and the request that they were made for.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>

#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>
#include <android/binder_manager.h>
#include <android/hardware/graphics/mapper/IMapper.h>
#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>

#include "tests/profile/Devices.h"

namespace zelkcam::test {
namespace {

namespace common = aidl::android::hardware::graphics::common;
using namespace aidl::android::hardware::graphics::allocator;
using android::hardware::graphics::mapper::StandardMetadata;
using profile::Observation;
using profile::Request;
using T = common::StandardMetadataType;

enum Int { kFormat, kUsageLow, kUsageHigh, kWidth, kHeight, kInts };

const TestDevice* chosenDevice() {
    const char* const name = std::getenv("MADE_UP_DEVICE");
    const auto devices = testDevices();
    const auto found = std::find_if(devices.begin(), devices.end(), [&](const TestDevice& device) {
        return name != nullptr && std::string(name) == device.name;
    });
    return found == devices.end() ? nullptr : &*found;
}

class MadeUpAllocator : public BnAllocator {
  public:
    ndk::ScopedAStatus allocate(const std::vector<uint8_t>&, int32_t, AllocationResult*) override {
        return ndk::ScopedAStatus::fromServiceSpecificError(2);
    }
    ndk::ScopedAStatus allocate2(const BufferDescriptorInfo& info, int32_t count,
                                 AllocationResult* result) override {
        const Request request = requestOf(info);
        const Observation seen = chosenDevice()->answer(request);
        if (seen.answer != profile::kGranted) {
            return ndk::ScopedAStatus::fromServiceSpecificError(seen.answer);
        }
        result->stride = static_cast<int32_t>(seen.numbers.answeredStride);
        for (int32_t i = 0; i < count; ++i) {
            const int fd = memfd_create("made-up", MFD_CLOEXEC);
            if (fd < 0 || ftruncate(fd, seen.numbers.size) != 0) {
                return ndk::ScopedAStatus::fromServiceSpecificError(1);
            }
            auto& buffer = result->buffers.emplace_back();
            buffer.fds.emplace_back(fd);
            buffer.ints = {request.format, static_cast<int32_t>(request.usage),
                           static_cast<int32_t>(request.usage >> 32),
                           static_cast<int32_t>(request.width),
                           static_cast<int32_t>(request.height)};
        }
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus isSupported(const BufferDescriptorInfo& info, bool* supported) override {
        *supported = chosenDevice()->answer(requestOf(info)).answer == profile::kGranted;
        return ndk::ScopedAStatus::ok();
    }
    ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* suffix) override {
        *suffix = "made_up";
        return ndk::ScopedAStatus::ok();
    }

  private:
    static Request requestOf(const BufferDescriptorInfo& info) {
        return {static_cast<int32_t>(info.format), static_cast<uint64_t>(info.usage),
                static_cast<uint32_t>(info.width), static_cast<uint32_t>(info.height)};
    }
};

std::mutex gLock;
std::set<buffer_handle_t> gImports;

bool isImport(buffer_handle_t handle) {
    const std::lock_guard guard(gLock);
    return gImports.contains(handle);
}

Request requestOf(buffer_handle_t handle) {
    const int* const ints = handle->data + handle->numFds;
    return {ints[kFormat],
            static_cast<uint64_t>(static_cast<uint32_t>(ints[kUsageHigh])) << 32 |
                    static_cast<uint32_t>(ints[kUsageLow]),
            static_cast<uint32_t>(ints[kWidth]), static_cast<uint32_t>(ints[kHeight])};
}

AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* out) {
    native_handle_t* const copy = native_handle_create(1, kInts);
    copy->data[0] = dup(raw->data[0]);
    std::copy_n(raw->data + 1, +kInts, copy->data + 1);
    const std::lock_guard guard(gLock);
    gImports.insert(copy);
    *out = copy;
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error freeBuffer(buffer_handle_t handle) {
    const std::lock_guard guard(gLock);
    if (gImports.erase(handle) == 0) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    native_handle_close(handle);
    native_handle_delete(const_cast<native_handle_t*>(handle));
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error transportSize(buffer_handle_t, uint32_t* fds, uint32_t* ints) {
    *fds = 1;
    *ints = kInts;
    return AIMAPPER_ERROR_NONE;
}

// Nobody looks into these buffers: any address will do.
AIMapper_Error lock(buffer_handle_t handle, uint64_t cpuUsage, ARect, int fence, void** data) {
    close(fence);
    if (!isImport(handle)) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    static uint64_t anything[2];
    *data = anything;
    const auto locks = *chosenDevice()->answer(requestOf(handle)).locks;
    return static_cast<AIMapper_Error>((cpuUsage & 0xf0) != 0 ? locks.write : locks.read);
}

AIMapper_Error unlock(buffer_handle_t, int* fence) {
    *fence = -1;
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error synchronize(buffer_handle_t) {
    return AIMAPPER_ERROR_NONE;
}

template <T kType>
int32_t encode(const typename StandardMetadata<kType>::value_type& value, void* out, size_t size) {
    return StandardMetadata<kType>::value::encode(value, out, size);
}

std::vector<common::PlaneLayout> planesOf(const Observation& seen) {
    std::vector<common::PlaneLayout> planes;
    for (size_t i = 0; i < seen.shape.planes.size(); ++i) {
        const profile::PlaneShape& shape = seen.shape.planes[i];
        const profile::PlaneNumbers& numbers = seen.numbers.planes[i];
        common::PlaneLayout& plane = planes.emplace_back();
        for (const profile::Component& component : shape.components) {
            plane.components.push_back(
                    {{"android.hardware.graphics.common.PlaneLayoutComponentType", component.type},
                     component.offsetInBits,
                     component.sizeInBits});
        }
        plane.offsetInBytes = numbers.offset;
        plane.strideInBytes = numbers.row;
        plane.totalSizeInBytes = numbers.size;
        plane.widthInSamples = numbers.width;
        plane.heightInSamples = numbers.height;
        plane.sampleIncrementInBits = shape.sampleIncrementInBits;
        plane.horizontalSubsampling = shape.horizontalSubsampling;
        plane.verticalSubsampling = shape.verticalSubsampling;
    }
    return planes;
}

int32_t getLayout(const Observation& seen, T type, void* out, size_t size) {
    switch (type) {
        case T::PIXEL_FORMAT_FOURCC:
            return encode<T::PIXEL_FORMAT_FOURCC>(seen.shape.fourcc, out, size);
        case T::PIXEL_FORMAT_MODIFIER:
            return encode<T::PIXEL_FORMAT_MODIFIER>(seen.shape.modifier, out, size);
        case T::ALLOCATION_SIZE:
            return encode<T::ALLOCATION_SIZE>(static_cast<uint64_t>(seen.numbers.size), out, size);
        case T::STRIDE:
            return encode<T::STRIDE>(static_cast<uint32_t>(seen.numbers.stride), out, size);
        case T::PLANE_LAYOUTS:
            return encode<T::PLANE_LAYOUTS>(planesOf(seen), out, size);
        case T::CHROMA_SITING:
            return encode<T::CHROMA_SITING>(
                    {"android.hardware.graphics.common.ChromaSiting", seen.shape.chromaSiting}, out,
                    size);
        default:
            return -AIMAPPER_ERROR_UNSUPPORTED;
    }
}

int32_t getStandard(buffer_handle_t handle, int64_t number, void* out, size_t size) {
    if (!isImport(handle)) {
        return -AIMAPPER_ERROR_BAD_BUFFER;
    }
    const Request request = requestOf(handle);
    const Observation seen = chosenDevice()->answer(request);
    for (const profile::Refused& refused : seen.shape.refused) {
        if (refused.type == number) {
            return refused.code;
        }
    }
    switch (const auto type = static_cast<T>(number)) {
        case T::WIDTH:
            return encode<T::WIDTH>(request.width, out, size);
        case T::HEIGHT:
            return encode<T::HEIGHT>(request.height, out, size);
        case T::PIXEL_FORMAT_REQUESTED:
            return encode<T::PIXEL_FORMAT_REQUESTED>(
                    static_cast<common::PixelFormat>(request.format), out, size);
        case T::USAGE:
            return encode<T::USAGE>(
                    static_cast<common::BufferUsage>(request.usage | seen.shape.usageAdded), out,
                    size);
        default:
            return getLayout(seen, type, out, size);
    }
}

int32_t getMetadata(buffer_handle_t, AIMapper_MetadataType, void*, size_t) {
    return -AIMAPPER_ERROR_UNSUPPORTED;
}

AIMapper_Error setMetadata(buffer_handle_t, AIMapper_MetadataType, const void*, size_t) {
    return AIMAPPER_ERROR_UNSUPPORTED;
}

AIMapper_Error setStandard(buffer_handle_t, int64_t, const void*, size_t) {
    return AIMAPPER_ERROR_UNSUPPORTED;
}

AIMapper_Error list(const AIMapper_MetadataTypeDescription** types, size_t* count) {
    *types = nullptr;
    *count = 0;
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error dump(buffer_handle_t, AIMapper_DumpBufferCallback, void*) {
    return AIMAPPER_ERROR_UNSUPPORTED;
}

AIMapper_Error dumpAll(AIMapper_BeginDumpBufferCallback, AIMapper_DumpBufferCallback, void*) {
    return AIMAPPER_ERROR_UNSUPPORTED;
}

AIMapper_Error reserved(buffer_handle_t, void** region, uint64_t* size) {
    *region = nullptr;
    *size = 0;
    return AIMAPPER_ERROR_NONE;
}

AIMapper gMapper = {
        AIMAPPER_VERSION_5,
        {importBuffer, freeBuffer, transportSize, lock, unlock, synchronize, synchronize,
         getMetadata, getStandard, setMetadata, setStandard, list, dump, dumpAll, reserved}};

__attribute__((constructor)) void registerAllocator() {
    if (chosenDevice() != nullptr) {
        const auto allocator = ndk::SharedRefBase::make<MadeUpAllocator>();
        const binder_exception_t added = AServiceManager_addService(
                allocator->asBinder().get(),
                (std::string(IAllocator::descriptor) + "/default").c_str());
        if (added != EX_NONE) {
            abort();
        }
    }
}

}  // namespace
}  // namespace zelkcam::test

extern "C" __attribute__((visibility("default"))) AIMapper_Error AIMapper_loadIMapper(
        AIMapper** out) {
    *out = &zelkcam::test::gMapper;
    return AIMAPPER_ERROR_NONE;
}
