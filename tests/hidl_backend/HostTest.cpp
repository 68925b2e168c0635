// The HIDL pair over the host's own services, beside the AIDL pair over the same buffers.
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "tests/support/Journal.h"
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

// Blobs are one row.
uint32_t heightOf(int32_t format) {
    return format == kBlob ? 1 : 1083;
}

struct Pairs {
    Mapper mapper;
    Allocator allocator{mapper};
    MapperV5 stableMapper{AllocatorAidl::createInstance()};
    AllocatorAidl stableAllocator{AllocatorAidl::createInstance(), stableMapper};

    bool bothServe(int32_t format) const {
        aidl::android::hardware::graphics::allocator::BufferDescriptorInfo info;
        info.width = 1921;
        info.height = static_cast<int32_t>(heightOf(format));
        info.layerCount = 1;
        info.format = static_cast<AidlFormat>(format);
        info.usage = static_cast<decltype(info.usage)>(kUsage);
        bool stable = false;
        android::hardware::hidl_vec<uint8_t> descriptor;
        return AllocatorAidl::createInstance()->isSupported(info, &stable).isOk() && stable &&
               mapper.createDescriptor(
                       {"", 1921, heightOf(format), 1, static_cast<HidlFormat>(format), kUsage, 0},
                       &descriptor) == 0;
    }
    const native_handle* allocateHidl(int32_t format, uint32_t width, uint32_t height) const {
        const native_handle* handle = nullptr;
        uint32_t stride = 0;
        EXPECT_EQ(allocator.allocate(width, height, static_cast<HidlFormat>(format), 1, kUsage,
                                     &handle, &stride, 0, ""),
                  0);
        return handle;
    }
    const native_handle* allocateStable(int32_t format, uint32_t width, uint32_t height) const {
        const native_handle* handle = nullptr;
        uint32_t stride = 0;
        EXPECT_EQ(stableAllocator.allocate(width, height, static_cast<AidlFormat>(format), 1,
                                           kUsage, &handle, &stride, 0, ""),
                  0);
        return handle;
    }
};

const Pairs& pairs() {
    static const Pairs& instance = *new Pairs;
    return instance;
}

// Every code that both pairs serve, found by asking for each.
std::vector<int32_t> servedFormats() {
    std::vector<int32_t> formats;
    for (int32_t code = 0; code <= 0x1100; ++code)
        if (pairs().bothServe(code))
            formats.push_back(code);
    for (const int32_t code : {0x20203859 /* Y8 */, 0x20363159 /* Y16 */, kYv12})
        if (pairs().bothServe(code))
            formats.push_back(code);
    return formats;
}

TEST(HidlHostTest, BothMappersDescribeTheSameBufferAlikeInEveryFormat) {
    const std::vector<int32_t> formats = servedFormats();
    EXPECT_GE(formats.size(), 14u);
    for (const int32_t format : formats) {
        SCOPED_TRACE(testing::Message() << std::hex << format);
        for (const bool ofHidl : {true, false}) {
            const native_handle* const buffer =
                    ofHidl ? pairs().allocateHidl(format, 1921, heightOf(format))
                           : pairs().allocateStable(format, 1921, heightOf(format));
            ASSERT_NE(buffer, nullptr);
            std::vector<PlaneLayout> hidl, stable;
            EXPECT_EQ(pairs().mapper.getPlaneLayouts(buffer, &hidl), 0);
            EXPECT_EQ(pairs().stableMapper.getPlaneLayouts(buffer, &stable), 0);
            EXPECT_EQ(hidl, stable);
            EXPECT_FALSE(hidl.empty());
            // Either pair's mapper frees what the other's has imported.
            EXPECT_EQ(ofHidl ? pairs().stableMapper.freeBuffer(buffer)
                             : pairs().mapper.freeBuffer(buffer),
                      0);
        }
    }
}

TEST(HidlHostTest, BothMappersLockTheSameBufferAlikeButForTheirContracts) {
    for (const int32_t format : servedFormats()) {
        SCOPED_TRACE(testing::Message() << std::hex << format);
        const native_handle* const buffer = pairs().allocateHidl(format, 1921, heightOf(format));
        void *data = nullptr, *stableData = nullptr;
        int pixel = 77, stride = 77, stablePixel = 77, stableStride = 77;
        EXPECT_EQ(pairs().mapper.lock(buffer, kUsage, {}, -1, &data, &pixel, &stride), 0);
        EXPECT_EQ(pairs().mapper.unlock(buffer), -1);
        EXPECT_EQ(pairs().stableMapper.lock(buffer, kUsage, {}, -1, &stableData, &stablePixel,
                                            &stableStride),
                  0);
        EXPECT_EQ(pairs().stableMapper.unlock(buffer), -1);
        EXPECT_EQ(std::tuple(data, pixel, stride),
                  std::tuple(stableData, stablePixel, stableStride));

        android_ycbcr ycbcr, stableYcbcr;
        const int32_t result = pairs().mapper.lock(buffer, kUsage, {}, -1, &ycbcr);
        const int32_t stableResult =
                pairs().stableMapper.lock(buffer, kUsage, {}, -1, &stableYcbcr);
        EXPECT_TRUE(result == 0 || (result == -22 && stableResult == 3)) << result;
        EXPECT_EQ(result == 0, stableResult == 0);
        if (result == 0) {
            std::vector<PlaneLayout> planes;
            pairs().mapper.getPlaneLayouts(buffer, &planes);
            if (planes.size() == 1 && planes[0].components.empty()) {
                EXPECT_EQ(ycbcr.y, nullptr);
                EXPECT_EQ(stableYcbcr.y, data);
            } else {
                EXPECT_EQ(memcmp(&ycbcr, &stableYcbcr, sizeof(ycbcr)), 0);
            }
            pairs().stableMapper.unlock(buffer);
            pairs().mapper.unlock(buffer);
        }
        pairs().allocator.free(buffer);
    }
}

// Of buffers only: heaps and the tools that watch them map as they like.
size_t bufferMappings() {
    std::ifstream maps("/proc/self/maps");
    size_t count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find("memfd:") != std::string::npos;
    return count;
}

// Runs a round often, once before the counting for what is allocated only once.
template <typename Round>
void expectNothingLeftBehind(int rounds, const Round& round) {
    round();
    const size_t descriptors = openDescriptors(), mapped = bufferMappings();
    for (int i = 0; i < rounds && !testing::Test::HasFailure(); ++i)
        round();
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(bufferMappings(), mapped);
}

TEST(HidlHostTest, TenThousandRoundsLeaveDescriptorsAndMappingsAsTheyWere) {
    const int signalled = eventfd(1, EFD_CLOEXEC);
    expectNothingLeftBehind(10000, [&] {
        const native_handle* const buffer = pairs().allocateHidl(kNv21, 64, 64);
        const int fence = dup(signalled);
        void* data = nullptr;
        EXPECT_EQ(pairs().mapper.lock(buffer, kUsage, {0, 0, 64, 64}, fence, &data), 0);
        memset(data, 0x5A, 64 * 64);
        EXPECT_EQ(pairs().mapper.unlock(buffer), -1);
        EXPECT_EQ(pairs().allocator.free(buffer), 0);
    });
    close(signalled);
}

TEST(HidlHostTest, NorDoRoundsOfYcbcrLocksThatSucceedOrFailOrOfRefusedAllocations) {
    const int signalled = eventfd(1, EFD_CLOEXEC);
    expectNothingLeftBehind(2000, [&] {
        android_ycbcr ycbcr;
        const native_handle* const good = pairs().allocateHidl(kYv12, 64, 64);
        EXPECT_EQ(pairs().mapper.lock(good, kUsage, {}, dup(signalled), &ycbcr), 0);
        EXPECT_EQ(pairs().mapper.unlock(good), -1);
        const native_handle* const deep = pairs().allocateHidl(kP010, 64, 64);
        EXPECT_EQ(pairs().mapper.lock(deep, kUsage, {}, dup(signalled), &ycbcr), -22);
        void* data = nullptr;
        EXPECT_EQ(pairs().mapper.lock(deep, kUsage, {-1, 0, 1, 1}, dup(signalled), &data), 3);
        pairs().allocator.free(good);
        pairs().allocator.free(deep);
        const native_handle* none = nullptr;
        uint32_t stride = 0;
        EXPECT_NE(pairs().allocator.allocate({1, 2, 3}, 1, &stride, &none), 0);
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(takeRawLog().size(), 1u) << "the refused lock's line alone";
    });
    close(signalled);
}

}  // namespace

}  // namespace zelkcam::test
