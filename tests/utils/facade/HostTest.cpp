// The helper over the host platform's real allocator and mapper: nothing here is scripted.
#include "tests/support/DoublesTest.h"
#include "tests/support/Holdings.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::test {

namespace {

using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocAllocatorAidlV2::PixelFormat;
using NSCam::GrallocMapperAidlV2::MapperV5;
using NSCam::GrallocMapperAidlV2::PlaneLayout;
using testing::HasSubstr;
using zcam::GrallocRequest;
using zcam::GrallocStaticInfo;

constexpr uint64_t kCpu = 0x33;

constexpr int32_t kFormats[] = {0x1,  0x3,  0x5,  0x11,  0x14,   0x20,       0x21,
                                0x24, 0x25, 0x36, 0x111, 0x1000, 0x20203859, 0x32315659};

class HostTest : public DoublesTest {
  protected:
    void SetUp() override {
        DoublesTest::SetUp();
        setLog({.details = 0});  // errors only
    }
    void TearDown() override { EXPECT_THAT(takeLog(), testing::IsEmpty()); }

    int request(const GrallocRequest& asked, bool force = false) {
        return helper->query(&asked, &info, force);
    }

    // The first round builds what is built once.
    static void expectNothingLeft(int times, const std::function<void()>& round) {
        round();
        const Holdings before = holdings();
        for (int i = 0; i < times && !HasFailure(); ++i) {
            round();
        }
        EXPECT_EQ(holdings(), before);
    }

    std::vector<std::pair<uint64_t, uint64_t>> planesAsPairs() const {
        std::vector<std::pair<uint64_t, uint64_t>> planes;
        for (const auto& plane : info.planes) {
            planes.emplace_back(plane.sizeInBytes, plane.rowStrideInBytes);
        }
        return planes;
    }

    NSCam::IGrallocHelper* const helper = NSCam::IGrallocHelper::singleton();
    const MapperV5 mapper{AllocatorAidl::createInstance()};
    const AllocatorAidl allocator{AllocatorAidl::createInstance(), mapper};
    GrallocStaticInfo info;
};

TEST_F(HostTest, AFormatLeftToTheAllocatorIsResolvedByItsUsage) {
    const struct {
        int32_t format;
        uint32_t usage;
        int32_t resolved;
    } cases[] = {{0x22, 0, 0x11},
                 {0x22, 0x60000, 0x111},
                 {0x22, 0x10000, 0x1000},
                 {0x23, 0, 0x11},
                 {0x23, 0x10000, 0x1000}};
    for (const auto& c : cases) {
        EXPECT_EQ(request({c.usage, c.format, 1921, 1083}), 0);
        EXPECT_EQ(info.format, c.resolved);
        const auto resolved = planesAsPairs();
        helper->clearMap();
        EXPECT_EQ(request({0, c.resolved, 1921, 1083}), 0);
        EXPECT_EQ(planesAsPairs(), resolved);
    }
}

TEST_F(HostTest, TheAnswerAgreesWithTheMappersOwnPlaneLayouts) {
    for (const int32_t format : kFormats) {
        for (const auto& [width, height] : {std::pair(1920, 1080), {4000, 3000}, {1921, 1083}}) {
            SCOPED_TRACE(testing::Message() << format << " " << width << "x" << height);
            ASSERT_EQ(request({0, format, width, height}), 0);
            EXPECT_EQ(info.format, format);
            EXPECT_EQ(info.widthInPixels, width);
            EXPECT_EQ(info.heightInPixels, height);
            const auto asked = planesAsPairs();

            const native_handle* buffer = nullptr;
            uint32_t stride = 0;
            ASSERT_EQ(
                    allocator.allocate(static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                                       PixelFormat(format), 1, kCpu, &buffer, &stride, 0, ""),
                    0);
            std::vector<PlaneLayout> layouts;
            EXPECT_EQ(mapper.getPlaneLayouts(buffer, &layouts), 0);
            std::vector<std::pair<uint64_t, uint64_t>> described;
            for (const PlaneLayout& plane : layouts) {
                described.emplace_back(plane.totalSizeInBytes, plane.strideInBytes);
            }
            EXPECT_EQ(asked, described);

            // And with what the helper itself says of that buffer.
            NSCam::GrallocDynamicInfo dynamicInfo;
            helper->clearMap();
            EXPECT_EQ(helper->query(buffer, &info, &dynamicInfo), 0);
            EXPECT_EQ(planesAsPairs(), asked);
            EXPECT_EQ(dynamicInfo.ionFds[0], buffer->data[0]);
            EXPECT_EQ(allocator.free(buffer), 0);
        }
    }
}

class HostRuleTest : public HostTest, public testing::WithParamInterface<int32_t> {};

INSTANTIATE_TEST_SUITE_P(Rules, HostRuleTest, testing::ValuesIn(kFormats));

TEST_P(HostRuleTest, TenThousandForcedRequestsLeaveNothing) {
    expectNothingLeft(10'000, [&] { EXPECT_EQ(request({0, GetParam(), 1921, 1083}, true), 0); });
}

TEST_F(HostTest, AHundredThousandLocksLeaveNothing) {
    const native_handle* buffer = nullptr;
    uint32_t stride = 0;
    ASSERT_EQ(allocator.allocate(64, 32, PixelFormat(0x11), 1, kCpu, &buffer, &stride, 0, ""), 0);
    expectNothingLeft(100'000, [&] {
        void* address = nullptr;
        EXPECT_EQ(helper->lock(buffer, kCpu, 64, 32, &address), 0);
        EXPECT_EQ(helper->unlock(buffer), 0);
    });
    EXPECT_EQ(helper->freeBuffer(buffer), 0);
}

TEST_F(HostTest, AFormatWithoutARuleIsRefusedAndTold) {
    for (const int32_t format : {0x2, 0x4, 0x10, 0x20363159}) {
        EXPECT_EQ(request({0, format, 64, 32}), -2);
        EXPECT_THAT(takeLog(), testing::ElementsAre(HasSubstr("] Not support format: ")));
    }
    for (const GrallocRequest& impossible :
         {GrallocRequest{0, 0x1, 0x7FFFFFFF, 0x7FFFFFFF}, GrallocRequest{0, 0x7777, 4, 4}}) {
        EXPECT_EQ(request(impossible), -12);
        EXPECT_THAT(takeLog().back(), HasSubstr("[determine] Bad allcation handle:"));
    }
}

}  // namespace

}  // namespace zelkcam::test
