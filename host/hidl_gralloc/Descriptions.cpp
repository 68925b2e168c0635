#include "host/hidl_gralloc/Descriptions.h"

#include <gralloctypes/Gralloc4.h>

namespace zelkcam::host {

using android::hardware::graphics::mapper::V4_0::IMapper;

gralloc::Description describe(const IMapper::BufferDescriptorInfo& info) {
    gralloc::Description description;
    description.setName({info.name.c_str(), info.name.size()});
    description.width = info.width;
    description.height = info.height;
    description.layerCount = info.layerCount;
    description.format = static_cast<int32_t>(info.format);
    description.usage = info.usage;
    description.reservedSize = info.reservedSize;
    return description;
}

std::optional<gralloc::Description> decodeDescriptor(
        const android::hardware::hidl_vec<uint8_t>& descriptor) {
    IMapper::BufferDescriptorInfo info;
    if (android::gralloc4::decodeBufferDescriptorInfo(descriptor, &info) != android::OK) {
        return std::nullopt;
    }
    return describe(info);
}

}  // namespace zelkcam::host
