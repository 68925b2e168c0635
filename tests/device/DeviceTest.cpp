// The library over the platform as it is, through the public interface alone: on a phone its own
// allocator and mapper, on Linux the host platform.
#include <array>
#include <cstdint>
#include <memory>
#include <ostream>

#include <gtest/gtest.h>

#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace {

using NSCam::GrallocDynamicInfo;
using NSCam::IGrallocHelper;
using zcam::GrallocRequest;
using zcam::GrallocStaticInfo;

constexpr uint32_t kCpuReadWrite = 0x33;
constexpr int32_t kRgba8888 = 0x1;
constexpr int32_t kBlob = 0x21;
constexpr int32_t kNv21 = 0x11;
constexpr int32_t kYv12 = 0x32315659;

// What any allocator must give, however it pads: enough room for the visible pixels.
struct Minimum {
    int32_t format;
    size_t planes;
    uint64_t firstRow;   // bytes of a row of the first plane
    uint64_t allPlanes;  // bytes
};

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;
constexpr uint64_t kPixels = uint64_t{kWidth} * kHeight;
constexpr std::array<Minimum, 3> kMinima = {{
        {kRgba8888, 1, uint64_t{kWidth} * 4, kPixels * 4},
        {kNv21, 2, kWidth, kPixels * 3 / 2},
        {kYv12, 3, kWidth, kPixels * 3 / 2},
}};

std::ostream& operator<<(std::ostream& out, const Minimum& minimum) {
    return out << "format " << minimum.format;
}

class Layouts : public testing::TestWithParam<Minimum> {};

TEST_P(Layouts, have_room_for_the_visible_pixels) {
    const Minimum& minimum = GetParam();
    const GrallocRequest request{kCpuReadWrite, minimum.format, kWidth, kHeight};
    GrallocStaticInfo info;
    ASSERT_EQ(IGrallocHelper::singleton()->query(&request, &info, false), 0);
    EXPECT_EQ(info.format, minimum.format);
    EXPECT_EQ(info.widthInPixels, kWidth);
    EXPECT_EQ(info.heightInPixels, kHeight);
    ASSERT_EQ(info.planes.size(), minimum.planes);
    EXPECT_GE(info.planes[0].rowStrideInBytes, minimum.firstRow);
    uint64_t bytes = 0;
    for (const auto& plane : info.planes) {
        bytes += plane.sizeInBytes;
    }
    EXPECT_GE(bytes, minimum.allPlanes);
}

INSTANTIATE_TEST_SUITE_P(Device, Layouts, testing::ValuesIn(kMinima));

TEST(Device, a_flexible_request_resolves_to_a_concrete_format) {
    constexpr int32_t kFlexibleYcbcr = 0x23;
    const GrallocRequest request{kCpuReadWrite, kFlexibleYcbcr, kWidth, kHeight};
    GrallocStaticInfo info;
    ASSERT_EQ(IGrallocHelper::singleton()->query(&request, &info, false), 0);
    EXPECT_NE(info.format, kFlexibleYcbcr);
    EXPECT_GE(info.planes.size(), 2u);
}

// One buffer, allocated by the backends that other modules use and described by the facade.
class AllocatedBuffer : public testing::Test {
  protected:
    void SetUp() override {
        auto service = NSCam::GrallocAllocatorAidlV2::AllocatorAidl::createInstance();
        ASSERT_NE(service, nullptr) << "the device's AIDL allocator is not there";
        mMapper = std::make_unique<NSCam::GrallocMapperAidlV2::MapperV5>(service);
        mAllocator =
                std::make_unique<NSCam::GrallocAllocatorAidlV2::AllocatorAidl>(service, *mMapper);
        uint32_t stride = 0;
        ASSERT_EQ(
                mAllocator->allocate(
                        4096, 1,
                        static_cast<aidl::android::hardware::graphics::common::PixelFormat>(kBlob),
                        1, kCpuReadWrite, &mBuffer, &stride, 0, "device test"),
                0);
    }

    void TearDown() override {
        if (mBuffer != nullptr) {
            mAllocator->free(mBuffer);
        }
    }

    std::unique_ptr<NSCam::GrallocMapperAidlV2::MapperV5> mMapper;
    std::unique_ptr<NSCam::GrallocAllocatorAidlV2::AllocatorAidl> mAllocator;
    const native_handle* mBuffer = nullptr;
};

TEST_F(AllocatedBuffer, is_described_with_its_descriptor) {
    GrallocStaticInfo info;
    GrallocDynamicInfo dynamic;
    ASSERT_EQ(IGrallocHelper::singleton()->query(mBuffer, &info, &dynamic), 0);
    EXPECT_EQ(info.format, kBlob);
    EXPECT_EQ(info.widthInPixels, 4096);
    ASSERT_EQ(dynamic.ionFds.size(), 1u);
    EXPECT_GE(dynamic.ionFds[0], 0);
}

TEST_F(AllocatedBuffer, keeps_what_the_processor_writes) {
    IGrallocHelper* helper = IGrallocHelper::singleton();
    void* address = nullptr;
    ASSERT_EQ(helper->lock(mBuffer, kCpuReadWrite, 4096, 1, &address), 0);
    ASSERT_NE(address, nullptr);
    static_cast<unsigned char*>(address)[4095] = 0xa5;
    EXPECT_EQ(helper->unlock(mBuffer), 0);

    address = nullptr;
    ASSERT_EQ(helper->lock(mBuffer, kCpuReadWrite, 4096, 1, &address), 0);
    EXPECT_EQ(static_cast<unsigned char*>(address)[4095], 0xa5);
    EXPECT_EQ(helper->unlock(mBuffer), 0);
}

TEST_F(AllocatedBuffer, takes_the_marks_for_the_display_side) {
    const IGrallocHelper* helper = IGrallocHelper::singleton();
    EXPECT_EQ(helper->setDirtyCamera(mBuffer), 0);
    EXPECT_EQ(helper->setColorspace_JFIF(mBuffer), 0);
    EXPECT_EQ(helper->setBufferSOF(mBuffer, 123456789), 0);
}

}  // namespace
