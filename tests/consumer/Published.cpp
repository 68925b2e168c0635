// A module that calls the platform itself, next to the library: one installed package serves both.
#include <cstdio>

#include "platform/allocator.h"
#include "platform/properties.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"
#include "utils/gralloc/hidl/allocator/allocator.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

int main() {
    using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
    using NSCam::GrallocMapperAidlV2::MapperV5;

    property_set("debug.zelkcam.utils.gralloc.loglevel", "1");
    const auto service = AllocatorAidl::createInstance();
    if (service == nullptr) {
        std::fprintf(stderr, "no allocator service\n");
        return 1;
    }
    const MapperV5 mapper(service);
    const AllocatorAidl allocator(service, mapper);
    const NSCam::GrallocMapper::Mapper hidlMapper;
    const NSCam::GrallocAllocator::Allocator hidlAllocator(hidlMapper);

    const native_handle* buffer = nullptr;
    uint32_t stride = 0;
    const auto format = aidl::android::hardware::graphics::common::PixelFormat::RGBA_8888;
    if (allocator.allocate(64, 64, format, 1, 0x33, &buffer, &stride, 0, "client") != 0) {
        std::fprintf(stderr, "no buffer\n");
        return 1;
    }
    const auto layouts = mapper.getStandardMetadata<
            aidl::android::hardware::graphics::common::StandardMetadataType::PLANE_LAYOUTS>(buffer);
    allocator.free(buffer);
    return layouts.has_value() && layouts->size() == 1 ? 0 : 1;
}
