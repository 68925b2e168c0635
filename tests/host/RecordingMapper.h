// The host's own HIDL mapper and allocator, for a test to override.
#pragma once

#include "host/hidl_gralloc/HidlAllocatorService.h"
#include "host/hidl_gralloc/MapperService.h"
#include "platform/hidl.h"

namespace recording {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using IAllocator = android::hardware::graphics::allocator::V4_0::IAllocator;
using Bytes = hidl_vec<uint8_t>;
using Description = IMapper::BufferDescriptorInfo;

class RecordingMapper : public zelkcam::host::MapperService {
  public:
    bool isRemote() const override { return remote; }

    bool remote = false;
};

using RecordingAllocator = zelkcam::host::HidlAllocatorService;

}  // namespace recording
