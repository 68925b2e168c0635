#include "tools/grallocinfo/HidlProbe.h"

#include "platform/hidl.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/StableMapper.h"
#include "utils/gralloc/hidl/allocator/allocator.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace grallocinfo {

namespace {

namespace hidl = NSCam::GrallocMapper;
using NSCam::GrallocAllocator::Allocator;

// The library's classes do not report a missing mapper, and end the process without an allocator:
// look for the services first.
void requireServices() {
    using android::hardware::graphics::allocator::V4_0::IAllocator;
    const bool mapper = hidl::IMapper::getService("default", false) != nullptr;
    if (mapper && IAllocator::getService("default", false) != nullptr) {
        return;
    }
    throw Failure{ExitCode::kLibraryFailure, "NO_HIDL_SERVICE", std::nullopt,
                  std::string("there is no HIDL 4.0 graphics ") +
                          (mapper ? "allocator" : "mapper") + " service (instance default)"};
}

class HidlBuffer {
  public:
    explicit HidlBuffer(const zcam::GrallocRequest& request) {
        const int32_t status = mAllocator.allocate(
                static_cast<uint32_t>(request.widthInPixels),
                static_cast<uint32_t>(request.heightInPixels),
                static_cast<NSCam::GrallocAllocator::PixelFormat>(request.format), 1,
                probeUsage(request), &mHandle, &mStride, 0, "");
        if (status != 0 || !mHandle) {
            throw Failure{ExitCode::kLibraryFailure, "ALLOCATION_REFUSED", status,
                          "the HIDL allocation answered " + mapperStatus(status) +
                                  ": the allocator refused the buffer"};
        }
    }
    ~HidlBuffer() { mAllocator.free(mHandle); }
    HidlBuffer(const HidlBuffer&) = delete;
    HidlBuffer& operator=(const HidlBuffer&) = delete;

    uint32_t stride() const { return mStride; }
    std::vector<hidl::PlaneLayout> planes() const;

  private:
    hidl::Mapper mMapper;
    Allocator mAllocator{mMapper};
    const native_handle* mHandle = nullptr;
    uint32_t mStride = 0;
};

std::vector<hidl::PlaneLayout> HidlBuffer::planes() const {
    std::vector<hidl::PlaneLayout> layouts;
    const int32_t status = mMapper.getPlaneLayouts(mHandle, &layouts);
    if (status != 0) {
        throw Failure{ExitCode::kLibraryFailure, "LAYOUT_UNREADABLE", status,
                      "the HIDL mapper answered " + mapperStatus(status) +
                              " when asked for the plane layouts"};
    }
    return layouts;
}

}  // namespace

MapperAnswer probeThroughHidl(const zcam::GrallocRequest& request) {
    requireServices();
    const HidlBuffer buffer(request);
    MapperAnswer answer{"hidl", buffer.stride(), {}};
    for (const hidl::PlaneLayout& plane : buffer.planes()) {
        answer.planes.push_back(mapperPlane(plane));
    }
    return answer;
}

}  // namespace grallocinfo
