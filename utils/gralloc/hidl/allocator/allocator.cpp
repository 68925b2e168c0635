#include "utils/gralloc/hidl/allocator/allocator.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "utils/gralloc/Log.h"

namespace NSCam::GrallocAllocator {
namespace {

using android::hardware::hidl_handle;
using android::hardware::Return;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;

constexpr char kLogTag[] = "ZelkCam/GrallocAllocator";
constexpr char kSourcePath[] = "utils/gralloc/hidl/allocator/allocator";

constexpr int32_t kNone = static_cast<int32_t>(Error::NONE);
constexpr int32_t kNoResources = static_cast<int32_t>(Error::NO_RESOURCES);

// Every description goes out without a name and without a reserved region.
IMapper::BufferDescriptorInfo describe(uint32_t width, uint32_t height, PixelFormat format,
                                       uint32_t layerCount, uint64_t usage) {
    const bool sized = width != 0 && height != 0;
    IMapper::BufferDescriptorInfo info = {};
    info.width = sized ? width : 1;
    info.height = sized ? height : 1;
    info.layerCount = std::max(layerCount, 1u);
    info.format = format;
    info.usage = usage;
    return info;
}

// Imports the first `count` of `buffers`, or none. The raw handles stay the service's.
int32_t importAll(const Mapper& mapper, const hidl_vec<hidl_handle>& buffers, uint32_t count,
                  const native_handle** outBufferHandles) {
    for (uint32_t i = 0; i < count; ++i) {
        // The service is trusted to have made as many buffers as were requested.
        const int32_t error = mapper.importBuffer(buffers[i], &outBufferHandles[i]);
        if (error == kNone) {
            continue;
        }
        for (uint32_t j = 0; j < i; ++j) {
            mapper.freeBuffer(std::exchange(outBufferHandles[j], nullptr));
        }
        return error;
    }
    return kNone;
}

}  // namespace

Allocator::Allocator(const Mapper& mapper)
    : mMapper(mapper), mAllocator(IAllocator::getService("default", false)) {
    if (mAllocator == nullptr) {
        LOGF("gralloc-alloc is missing ");
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): binary interface
int32_t Allocator::allocate(hidl_vec<uint8_t> descriptor, uint32_t count, uint32_t* outStride,
                            const native_handle** outBufferHandles) const {
    int32_t result = kNoResources;
    const Return<void> transport = mAllocator->allocate(
            descriptor, count,
            [&](Error error, uint32_t stride, const hidl_vec<hidl_handle>& buffers) {
                result = error == Error::NONE ? importAll(mMapper, buffers, count, outBufferHandles)
                                              : static_cast<int32_t>(error);
                if (result == kNone) {
                    *outStride = stride;
                }
            });
    return transport.isOk() ? result : kNoResources;
}

int32_t Allocator::allocate(uint32_t width, uint32_t height, PixelFormat format,
                            uint32_t layerCount, uint64_t usage,
                            const native_handle** outBufferHandle, uint32_t* outStride,
                            // NOLINTNEXTLINE(performance-unnecessary-value-param): as above
                            uint64_t /*reservedSize*/, std::string /*name*/) const {
    LOGD("allocate: %dx%d format(%#x) layerCount(%d) usage(%#lx) handle(%p) stride(%p)", width,
         height, static_cast<unsigned int>(format), layerCount, static_cast<unsigned long>(usage),
         static_cast<const void*>(outBufferHandle), static_cast<const void*>(outStride));
    const IMapper::BufferDescriptorInfo info = describe(width, height, format, layerCount, usage);
    hidl_vec<uint8_t> descriptor;
    if (mMapper.createDescriptor(info, &descriptor) != kNone) {
        LOGE("Failed to createDescriptor");
        return -ENOMEM;
    }
    const int32_t error = allocate(std::move(descriptor), 1, outStride, outBufferHandle);
    if (error == kNone) {
        return 0;
    }
    LOGE("Failed to allocate (%u x %u) layerCount %u format %d usage %lx: %d", info.width,
         info.height, info.layerCount, static_cast<int>(info.format),
         static_cast<unsigned long>(info.usage), error);
    return -ENOMEM;
}

int32_t Allocator::free(const native_handle* buffer) const {
    mMapper.freeBuffer(buffer);
    return 0;
}

}  // namespace NSCam::GrallocAllocator
