#include "host/hidl_gralloc/Descriptions.h"

#include <gralloctypes/Gralloc4.h>

namespace zelkcam::host {

using android::hardware::graphics::mapper::V4_0::IMapper;

std::optional<gralloc::Description> decodeDescriptor(
        const android::hardware::hidl_vec<uint8_t>& descriptor) {
    IMapper::BufferDescriptorInfo info;
    if (android::gralloc4::decodeBufferDescriptorInfo(descriptor, &info) != android::OK) {
        return std::nullopt;
    }
    return gralloc::describe({info.name.c_str(), info.name.size()}, info);
}

}  // namespace zelkcam::host
