#include "utils/gralloc/aidl/v2/allocator/allocator.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/hwbinder.h"
#include "utils/gralloc/Log.h"

namespace NSCam::GrallocAllocatorAidlV2 {
namespace {

using aidl::android::hardware::common::NativeHandle;
using aidl::android::hardware::graphics::allocator::AllocationResult;
using aidl::android::hardware::graphics::common::BufferUsage;

constexpr char kLogTag[] = "ZelkCam/GrallocAllocatorAidlV2";
constexpr char kSourcePath[] = "utils/gralloc/aidl/v2/allocator/allocator";

// Every description goes out without a name, without a reserved region and without options.
BufferDescriptorInfo describe(uint32_t width, uint32_t height, PixelFormat format,
                              uint32_t layerCount, uint64_t usage) {
    const bool sized = width != 0 && height != 0;
    BufferDescriptorInfo info;
    info.width = static_cast<int32_t>(sized ? width : 1);
    info.height = static_cast<int32_t>(sized ? height : 1);
    info.layerCount = static_cast<int32_t>(std::max(layerCount, 1u));
    info.format = format;
    info.usage = static_cast<BufferUsage>(usage);
    return info;
}

// Imports a buffer of an allocation result, which goes on owning the descriptors.
int32_t importFromAidl(const MapperV5& mapper, const NativeHandle& buffer,
                       const native_handle** outBuffer) {
    native_handle_t* const raw = android::makeFromAidl(buffer);
    const int32_t error = mapper.importBuffer(raw, outBuffer);
    native_handle_delete(raw);
    return error;
}

}  // namespace

std::shared_ptr<IAllocator> AllocatorAidl::createInstance() {
    const std::string name = std::string(IAllocator::descriptor) + "/default";
    auto allocator =
            IAllocator::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
    if (allocator == nullptr) {
        LOGE("gralloc-alloc is missing ");
    }
    return allocator;
}

AllocatorAidl::AllocatorAidl(std::shared_ptr<IAllocator> allocator, const MapperV5& mapper)
    : mMapper(mapper), mAllocator(std::move(allocator)) {
    if (mAllocator == nullptr) {
        LOGF("gralloc-alloc is missing ");
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): binary interface
int32_t AllocatorAidl::allocate(BufferDescriptorInfo descriptorInfo, uint32_t count,
                                uint32_t* outStride, const native_handle** outBufferHandles) const {
    AllocationResult result;
    const ndk::ScopedAStatus status =
            mAllocator->allocate2(descriptorInfo, static_cast<int32_t>(count), &result);
    ipcFlushCommands();
    if (!status.isOk()) {
        return AIMAPPER_ERROR_NO_RESOURCES;
    }

    for (uint32_t i = 0; i < count; ++i) {
        // The service is trusted to have made as many buffers as were requested.
        const int32_t error = importFromAidl(mMapper, result.buffers[i], &outBufferHandles[i]);
        ipcFlushCommands();
        if (error == AIMAPPER_ERROR_NONE) {
            continue;
        }
        for (uint32_t j = 0; j < i; ++j) {
            free(std::exchange(outBufferHandles[j], nullptr));
        }
        // Contract: this code, whatever the import's own was.
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    *outStride = static_cast<uint32_t>(result.stride);
    return AIMAPPER_ERROR_NONE;
}

int32_t AllocatorAidl::allocate(uint32_t width, uint32_t height, PixelFormat format,
                                uint32_t layerCount, uint64_t usage,
                                const native_handle** outBufferHandle, uint32_t* outStride,
                                // NOLINTNEXTLINE(performance-unnecessary-value-param): as above
                                uint64_t /*reservedSize*/, std::string /*name*/) const {
    LOGD("allocate: %dx%d format(%#x) layerCount(%d) usage(%#lx) handle(%p) stride(%p)", width,
         height, static_cast<unsigned int>(format), layerCount, static_cast<unsigned long>(usage),
         static_cast<const void*>(outBufferHandle), static_cast<const void*>(outStride));
    const BufferDescriptorInfo info = describe(width, height, format, layerCount, usage);
    const int32_t error = allocate(info, 1, outStride, outBufferHandle);
    if (error == AIMAPPER_ERROR_NONE) {
        return 0;
    }
    LOGE("Failed to allocate (%u x %u) layerCount %u format %d usage %lx: %d",
         static_cast<unsigned int>(info.width), static_cast<unsigned int>(info.height),
         static_cast<unsigned int>(info.layerCount), static_cast<int>(info.format),
         static_cast<unsigned long>(info.usage), error);
    return -ENOMEM;
}

int32_t AllocatorAidl::free(const native_handle* buffer) const {
    mMapper.freeBuffer(buffer);
    ipcFlushCommands();
    return 0;
}

void AllocatorAidl::ipcFlushCommands() const {
    if (auto* const thread = android::hardware::IPCThreadState::self()) {
        thread->flushCommands();
        return;
    }
    LOGE("get IPCThreadState singleton failed");
}

}  // namespace NSCam::GrallocAllocatorAidlV2
