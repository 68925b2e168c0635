// The library over the platform as it is, nothing scripted: on a phone its own services, on Linux
// the host platform.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/Profiles.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::test {

inline constexpr uint32_t kCpu = 0x33;  // read and written often by the processor
inline constexpr int32_t kNv21 = 0x11;
inline constexpr int32_t kBlob = 0x21;
inline constexpr int32_t kYv12 = 0x32315659;

struct Live {
    using PixelFormat = NSCam::GrallocAllocatorAidlV2::PixelFormat;
    using AllocatorAidl = NSCam::GrallocAllocatorAidlV2::AllocatorAidl;

    NSCam::IGrallocHelper& helper = *NSCam::IGrallocHelper::singleton();
    const NSCam::GrallocMapperAidlV2::MapperV5 mapper{AllocatorAidl::createInstance()};
    const AllocatorAidl allocator{AllocatorAidl::createInstance(), mapper};

    // Contract: a request for a concrete format is probed with usage 0, which a device may refuse.
    static int answerToConcrete(int otherwise = 0) { return isStrict() ? -12 : otherwise; }

    // To be freed by the allocator or the mapper.
    const native_handle* allocate(int32_t format, uint32_t width, uint32_t height,
                                  uint64_t usage = kCpu) const {
        const native_handle* made = nullptr;
        uint32_t stride = 0;
        EXPECT_EQ(allocator.allocate(width, height, PixelFormat(format), 1, usage, &made, &stride,
                                     0, "test"),
                  0);
        return made;
    }
};

}  // namespace zelkcam::test
