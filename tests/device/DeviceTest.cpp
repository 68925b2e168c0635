// The library over the platform as it is, through the public interface alone: on a phone its own
// allocator and mapper, on Linux the host platform, which is held to the same expectations.
#include "tests/support/Live.h"

namespace zelkcam::test {

namespace {

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;
constexpr uint64_t kPixels = uint64_t{kWidth} * kHeight;

class DeviceTest : public testing::Test, public Live {
  protected:
    zcam::GrallocStaticInfo info;
};

// However an allocator pads.
TEST_F(DeviceTest, LayoutsHaveRoomForTheVisiblePixels) {
    const struct {
        int32_t format;
        size_t planes;
        uint64_t firstRow;   // bytes of a row of the first plane, at least
        uint64_t allPlanes;  // bytes, likewise
    } cases[] = {{0x1, 1, uint64_t{kWidth} * 4, kPixels * 4},
                 {kNv21, 2, kWidth, kPixels * 3 / 2},
                 {kYv12, 3, kWidth, kPixels * 3 / 2}};
    for (const auto& minimum : cases) {
        SCOPED_TRACE(minimum.format);
        const zcam::GrallocRequest request{kCpu, minimum.format, kWidth, kHeight};
        ASSERT_EQ(helper.query(&request, &info, false), answerToConcrete());
        if (answerToConcrete() != 0) {
            continue;
        }
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
}

TEST_F(DeviceTest, AFlexibleRequestResolvesToAConcreteFormat) {
    const zcam::GrallocRequest request{kCpu, 0x23, kWidth, kHeight};
    ASSERT_EQ(helper.query(&request, &info, false), 0);
    EXPECT_NE(info.format, 0x23);
    EXPECT_GE(info.planes.size(), 2u);
}

TEST_F(DeviceTest, ABufferIsDescribedKeepsWhatIsWrittenAndTakesTheMarks) {
    const native_handle* const buffer = allocate(kBlob, 4096, 1);
    ASSERT_NE(buffer, nullptr);
    NSCam::GrallocDynamicInfo dynamic;
    ASSERT_EQ(helper.query(buffer, &info, &dynamic), 0);
    EXPECT_EQ(info.format, kBlob);
    EXPECT_EQ(info.widthInPixels, 4096);
    ASSERT_EQ(dynamic.ionFds.size(), 1u);
    EXPECT_GE(dynamic.ionFds[0], 0);

    for (const bool isWritten : {false, true}) {
        void* address = nullptr;
        ASSERT_EQ(helper.lock(buffer, kCpu, 4096, 1, &address), 0);
        auto& last = static_cast<unsigned char*>(address)[4095];
        EXPECT_EQ(isWritten ? last : 0xa5, 0xa5);
        last = 0xa5;
        EXPECT_EQ(helper.unlock(buffer), 0);
    }
    EXPECT_EQ(helper.setDirtyCamera(buffer), 0);
    EXPECT_EQ(helper.setColorspace_JFIF(buffer), 0);
    EXPECT_EQ(helper.setBufferSOF(buffer, 123456789), 0);
    EXPECT_EQ(allocator.free(buffer), 0);
}

}  // namespace

}  // namespace zelkcam::test
