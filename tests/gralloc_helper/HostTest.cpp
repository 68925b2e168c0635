// The helper over the host platform's real allocator and mapper: nothing here is scripted.
#include "tests/support/DoublesTest.h"
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

constexpr uint32_t kZsl = 0x60000;
constexpr uint32_t kVideoEncoder = 0x10000;
constexpr uint64_t kCpu = 0x33;

struct Kind {
    int32_t format;
    uint32_t usage = 0;
    int32_t resolved = format;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << std::hex << "format 0x" << kind.format << " usage 0x" << kind.usage;
}

// Every rule that a request can lead to.
constexpr Kind kKinds[] = {
        {0x1},
        {0x3},
        {0x5},
        {0x11},
        {0x14},
        {0x20},
        {0x21},
        {0x24},
        {0x25},
        {0x36},
        {0x111},
        {0x1000},
        {0x20203859},
        {0x32315659},
        {0x22, 0, 0x11},
        {0x22, kZsl, 0x111},
        {0x22, kVideoEncoder, 0x1000},
        {0x23, 0, 0x11},
        {0x23, kVideoEncoder, 0x1000},
};

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

    // `first` builds what is built once.
    static void expectNothingLeft(const std::function<void()>& first,
                                  const std::function<void()>& rounds) {
        first();
        const size_t descriptors = openDescriptors();
        const size_t mapped = mappings();
        rounds();
        EXPECT_EQ(openDescriptors(), descriptors);
        EXPECT_EQ(mappings(), mapped);
    }

    NSCam::IGrallocHelper* const helper = NSCam::IGrallocHelper::singleton();
    GrallocStaticInfo info;
};

class HostKindTest : public HostTest, public testing::WithParamInterface<Kind> {};

std::string nameOf(const testing::TestParamInfo<Kind>& kind) {
    return std::to_string(kind.param.format) + "_" + std::to_string(kind.param.usage);
}

INSTANTIATE_TEST_SUITE_P(Formats, HostKindTest, testing::ValuesIn(kKinds), nameOf);

TEST_P(HostKindTest, TheAnswerAgreesWithTheMappersOwnPlaneLayouts) {
    const auto service = AllocatorAidl::createInstance();
    const MapperV5 mapper(service);
    const AllocatorAidl allocator(service, mapper);
    const std::pair<int, int> sizes[] = {{1920, 1080}, {4000, 3000}, {1921, 1083}};
    for (const auto& [width, height] : sizes) {
        ASSERT_EQ(request({GetParam().usage, GetParam().format, width, height}), 0);
        EXPECT_EQ(info.format, GetParam().resolved);
        EXPECT_EQ(info.widthInPixels, width);
        EXPECT_EQ(info.heightInPixels, height);

        const native_handle* buffer = nullptr;
        uint32_t stride = 0;
        ASSERT_EQ(allocator.allocate(static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                                     PixelFormat(GetParam().format), 1, GetParam().usage | kCpu,
                                     &buffer, &stride, 0, ""),
                  0);
        std::vector<PlaneLayout> layouts;
        EXPECT_EQ(mapper.getPlaneLayouts(buffer, &layouts), 0);
        ASSERT_EQ(layouts.size(), info.planes.size());
        for (size_t i = 0; i < layouts.size(); ++i) {
            EXPECT_EQ(info.planes[i].rowStrideInBytes, uint64_t(layouts[i].strideInBytes)) << i;
            EXPECT_EQ(info.planes[i].sizeInBytes, uint64_t(layouts[i].totalSizeInBytes)) << i;
        }

        // And with what the helper itself says of that buffer.
        const std::vector<GrallocStaticInfo::Plane> asked = info.planes;
        NSCam::GrallocDynamicInfo dynamicInfo;
        helper->clearMap();
        EXPECT_EQ(helper->query(buffer, &info, &dynamicInfo), 0);
        ASSERT_EQ(info.planes.size(), asked.size());
        for (size_t i = 0; i < asked.size(); ++i)
            EXPECT_EQ(info.planes[i].sizeInBytes, asked[i].sizeInBytes);
        EXPECT_EQ(dynamicInfo.ionFds.size(), 1u);
        EXPECT_EQ(dynamicInfo.ionFds[0], buffer->data[0]);
        EXPECT_EQ(allocator.free(buffer), 0);
    }
}

class HostRuleTest : public HostKindTest {};

// One request a rule; the flexible formats lead to the same ones.
INSTANTIATE_TEST_SUITE_P(Rules, HostRuleTest, testing::ValuesIn(kKinds, kKinds + 14), nameOf);

TEST_P(HostRuleTest, TenThousandForcedRequestsLeaveDescriptorsAndMappingsAsTheyWere) {
    const auto probe = [&](int times) {
        for (int i = 0; i < times; ++i)
            ASSERT_EQ(request({0, GetParam().format, 1921, 1083}, true), 0);
    };
    expectNothingLeft([&] { probe(100); }, [&] { probe(10'000); });
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

TEST_F(HostTest, AHundredThousandLocksLeaveDescriptorsAndMappingsAsTheyWere) {
    const MapperV5 mapper(AllocatorAidl::createInstance());
    const AllocatorAidl allocator(AllocatorAidl::createInstance(), mapper);
    const native_handle* buffer = nullptr;
    uint32_t stride = 0;
    ASSERT_EQ(allocator.allocate(64, 32, PixelFormat(0x11), 1, kCpu, &buffer, &stride, 0, ""), 0);
    const auto lock = [&](int times) {
        void* address = nullptr;
        for (int i = 0; i < times; ++i) {
            ASSERT_EQ(helper->lock(buffer, kCpu, 64, 32, &address), 0);
            ASSERT_EQ(helper->unlock(buffer), 0);
        }
    };
    expectNothingLeft([&] { lock(1); }, [&] { lock(100'000); });
    EXPECT_EQ(helper->freeBuffer(buffer), 0);
}

}  // namespace

}  // namespace zelkcam::test
