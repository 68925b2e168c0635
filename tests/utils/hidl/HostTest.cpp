// The HIDL pair over the host's own services, beside the AIDL pair over the same buffers.
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstring>

#include <gtest/gtest.h>

#include "tests/support/Holdings.h"
#include "tests/support/LogCapture.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"
#include "utils/gralloc/hidl/allocator/allocator.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace zelkcam::test {

namespace {

using NSCam::GrallocAllocator::Allocator;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocMapper::IMapper;
using NSCam::GrallocMapper::Mapper;
using NSCam::GrallocMapper::PlaneLayout;
using NSCam::GrallocMapperAidlV2::MapperV5;
using AidlFormat = aidl::android::hardware::graphics::common::PixelFormat;
using HidlFormat = android::hardware::graphics::common::V1_2::PixelFormat;

constexpr uint64_t kUsage = 0x33;  // read and written often
constexpr int32_t kNv21 = 0x11, kP010 = 0x36, kBlob = 0x21, kYv12 = 0x32315659;
constexpr int32_t kFormats[] = {0x1,   0x2,   0x3,    0x4,        0x5,        0x10,
                                kNv21, 0x14,  0x20,   kBlob,      0x24,       0x25,
                                kP010, 0x111, 0x1000, 0x20203859, 0x20363159, kYv12};

struct Pairs {
    Mapper mapper;
    Allocator allocator{mapper};
    MapperV5 stableMapper{AllocatorAidl::createInstance()};
    AllocatorAidl stableAllocator{AllocatorAidl::createInstance(), stableMapper};

    // Through one pair or the other. Blobs are one row.
    const native_handle* allocate(bool hidl, int32_t format, uint32_t width,
                                  uint32_t height) const {
        const native_handle* handle = nullptr;
        uint32_t stride = 0;
        const uint32_t rows = format == kBlob ? 1 : height;
        EXPECT_EQ(hidl ? allocator.allocate(width, rows, static_cast<HidlFormat>(format), 1, kUsage,
                                            &handle, &stride, 0, "")
                       : stableAllocator.allocate(width, rows, static_cast<AidlFormat>(format), 1,
                                                  kUsage, &handle, &stride, 0, ""),
                  0);
        return handle;
    }
};

const Pairs& pairs() {
    static const Pairs& instance = *new Pairs;
    return instance;
}

TEST(HidlHostTest, BothMappersDescribeAndLockTheSameBufferAlike) {
    const auto& [mapper, allocator, stableMapper, stableAllocator] = pairs();
    for (const int32_t format : kFormats) {
        for (const bool hidl : {true, false}) {
            SCOPED_TRACE(testing::Message() << std::hex << format << ", HIDL: " << hidl);
            const native_handle* const buffer = pairs().allocate(hidl, format, 1921, 1083);
            ASSERT_NE(buffer, nullptr);
            std::vector<PlaneLayout> planes, stablePlanes;
            EXPECT_EQ(mapper.getPlaneLayouts(buffer, &planes), 0);
            EXPECT_EQ(stableMapper.getPlaneLayouts(buffer, &stablePlanes), 0);
            EXPECT_EQ(planes, stablePlanes);
            EXPECT_FALSE(planes.empty());

            void *data = nullptr, *stableData = nullptr;
            int pixel = 77, stride = 77, stablePixel = 77, stableStride = 77;
            EXPECT_EQ(mapper.lock(buffer, kUsage, {}, -1, &data, &pixel, &stride), 0);
            EXPECT_EQ(stableMapper.lock(buffer, kUsage, {}, -1, &stableData, &stablePixel,
                                        &stableStride),
                      0);
            EXPECT_EQ(std::tuple(data, pixel, stride),
                      std::tuple(stableData, stablePixel, stableStride));
            EXPECT_EQ(mapper.unlock(buffer), -1);
            EXPECT_EQ(stableMapper.unlock(buffer), -1);

            android_ycbcr ycbcr, stableYcbcr;
            const bool said = mapper.lock(buffer, kUsage, {}, -1, &ycbcr) == 0;
            EXPECT_EQ(stableMapper.lock(buffer, kUsage, {}, -1, &stableYcbcr), said ? 0 : 3);
            if (said) {
                // Only the stable one takes a plane without components for luma.
                if (planes[0].components.empty()) {
                    ycbcr.y = data, ycbcr.ystride = static_cast<size_t>(planes[0].strideInBytes);
                }
                EXPECT_EQ(memcmp(&ycbcr, &stableYcbcr, sizeof(ycbcr)), 0);
                stableMapper.unlock(buffer);
                mapper.unlock(buffer);
            }
            // Either pair's mapper frees what the other's has imported.
            EXPECT_EQ(hidl ? stableMapper.freeBuffer(buffer) : mapper.freeBuffer(buffer), 0);
        }
    }
}

TEST(HidlHostTest, TenThousandRoundsLeaveDescriptorsAndMappingsAsTheyWere) {
    const Mapper& mapper = pairs().mapper;
    const Allocator& allocator = pairs().allocator;
    const int signalled = eventfd(1, EFD_CLOEXEC);
    const auto serve = [&] {
        const native_handle* const buffer = pairs().allocate(true, kNv21, 64, 64);
        void* data = nullptr;
        EXPECT_EQ(mapper.lock(buffer, kUsage, {0, 0, 64, 64}, dup(signalled), &data), 0);
        memset(data, 0x5A, 64 * 64);
        EXPECT_EQ(mapper.unlock(buffer), -1);
        EXPECT_EQ(allocator.free(buffer), 0);
    };
    const auto refuse = [&] {
        const native_handle* const deep = pairs().allocate(true, kP010, 64, 64);
        android_ycbcr ycbcr;
        EXPECT_EQ(mapper.lock(deep, kUsage, {}, dup(signalled), &ycbcr), -22);
        void* data = nullptr;
        EXPECT_EQ(mapper.lock(deep, kUsage, {-1, 0, 1, 1}, dup(signalled), &data), 3);
        EXPECT_EQ(allocator.free(deep), 0);
        const native_handle* none = nullptr;
        uint32_t stride = 0;
        EXPECT_NE(allocator.allocate({1, 2, 3}, 1, &stride, &none), 0);
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(takeRawLog().size(), 1u) << "the refused lock's line alone";
    };
    serve();  // what is allocated only once
    const Holdings before = holdings();
    for (int i = 0; i < 10'000 && !HasFailure(); ++i) {
        serve();
        if (i % 10 == 0) {
            refuse();
        }
    }
    EXPECT_EQ(holdings(), before);
    close(signalled);
}

}  // namespace

}  // namespace zelkcam::test
