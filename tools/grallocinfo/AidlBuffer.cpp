#include "tools/grallocinfo/AidlBuffer.h"

#include <cerrno>

#include "platform/plexa.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/StableMapper.h"

namespace grallocinfo {

using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocAllocatorAidlV2::IAllocator;
using NSCam::GrallocAllocatorAidlV2::PixelFormat;
using NSCam::GrallocMapperAidlV2::MapperV5;

namespace {

Failure allocationFailure(int32_t status, const zcam::GrallocRequest& request, uint32_t usage) {
    const StatusMeaning meaning = meaningOfRefusal(request, usage);
    return {ExitCode::kLibraryFailure, meaning.code, status,
            "the allocation answered " + mapperStatus(status) + ": " + meaning.sentence};
}

std::shared_ptr<IAllocator> openService() {
    std::shared_ptr<IAllocator> service = AllocatorAidl::createInstance();
    if (!service) {
        throw Failure{ExitCode::kLibraryFailure, kNoAllocatorService, std::nullopt,
                      noAllocatorService()};
    }
    return service;
}

}  // namespace

std::unique_ptr<const MapperV5> openMapper() {
    return std::make_unique<const MapperV5>(openService());
}

AidlBuffer::AidlBuffer(const zcam::GrallocRequest& request, uint32_t usage)
    : mService(openService()),
      mMapper(std::make_unique<const MapperV5>(mService)),
      mAllocator(std::make_unique<const AllocatorAidl>(mService, *mMapper)) {
    uint32_t stride = 0;
    const int32_t status = mAllocator->allocate(static_cast<uint32_t>(request.widthInPixels),
                                                static_cast<uint32_t>(request.heightInPixels),
                                                static_cast<PixelFormat>(request.format), 1, usage,
                                                &mHandle, &stride, 0, "");
    if (status != 0 || !mHandle) {
        throw allocationFailure(status, request, usage);
    }
}

AidlBuffer::~AidlBuffer() {
    mAllocator->free(mHandle);
}

std::optional<uint64_t> allocationSizeOf(const native_handle* handle) {
    int32_t size = 0;
    if (plexa_query(handle, PLEXA_GET_ALLOC_SIZE, &size) != 0 || size <= 0) {
        return std::nullopt;
    }
    return static_cast<uint64_t>(size);
}

Allocation probeAllocation(const zcam::GrallocRequest& request) {
    return describeAllocation(AidlBuffer(request, probeUsage(request)).handle());
}

}  // namespace grallocinfo
