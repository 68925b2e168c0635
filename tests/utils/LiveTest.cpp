// The library over the host platform: layouts of every format, both backend pairs side by side, and
// what two processes see of one buffer.
#include <algorithm>
#include <cstring>

#include "platform/plexa.h"
#include "tests/support/Live.h"
#include "tests/support/Peer.h"
#include "utils/gralloc/hidl/allocator/allocator.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace zelkcam::test {

namespace {

using NSCam::GrallocMapperAidlV2::PlaneLayout;
using HidlMapper = NSCam::GrallocMapper::Mapper;
using HidlAllocator = NSCam::GrallocAllocator::Allocator;
using HidlFormat = NSCam::GrallocAllocator::PixelFormat;
using Planes = std::vector<std::pair<uint64_t, uint64_t>>;

class LiveTest : public testing::Test, public Live {
  protected:
    int request(const zcam::GrallocRequest& asked, bool force = false) {
        return helper.query(&asked, &info, force);
    }

    Planes planes() const {
        Planes found;
        for (const auto& plane : info.planes) {
            found.emplace_back(plane.sizeInBytes, plane.rowStrideInBytes);
        }
        return found;
    }

    void expectDescribed(int32_t format, int32_t width, int32_t height);
    void expectBothMappersAlike(const native_handle* buffer);

    const HidlMapper hidlMapper;
    const HidlAllocator hidlAllocator{hidlMapper};
    zcam::GrallocStaticInfo info;
};

// By the helper, by the mapper, and by the helper when it is asked about the buffer. The helper
// takes the size of some formats from the allocation, which a device may make larger than its
// planes.
void LiveTest::expectDescribed(int32_t format, int32_t width, int32_t height) {
    helper.clearMap();  // which a flexible request may have filled with this one
    ASSERT_EQ(request({0, format, width, height}), answerToConcrete());
    if (answerToConcrete() != 0) {
        return;
    }
    EXPECT_EQ(info.format, format);
    EXPECT_EQ(info.widthInPixels, width);
    EXPECT_EQ(info.heightInPixels, height);
    const Planes expected = planes();
    const native_handle* const buffer = allocate(format, width, height, 0);
    std::vector<PlaneLayout> layouts;
    EXPECT_EQ(mapper.getPlaneLayouts(buffer, &layouts), 0);
    Planes described;
    for (const PlaneLayout& plane : layouts) {
        described.emplace_back(plane.totalSizeInBytes, plane.strideInBytes);
    }
    if (profileInForce() == "default") {
        EXPECT_EQ(described, expected);
    }

    NSCam::GrallocDynamicInfo dynamicInfo;
    helper.clearMap();
    EXPECT_EQ(helper.query(buffer, &info, &dynamicInfo), 0);
    EXPECT_EQ(planes(), expected);
    EXPECT_EQ(dynamicInfo.ionFds[0], buffer->data[0]);
    EXPECT_EQ(hidlMapper.freeBuffer(buffer), 0) << "whichever pair has imported it";
}

// Of a buffer that was locked; its release fence, if the device gives one, is closed.
void expectUnlocked(int fence) {
    EXPECT_EQ(fence >= 0, isStrict());
    if (fence >= 0) {
        close(fence);
    }
}

void LiveTest::expectBothMappersAlike(const native_handle* buffer) {
    std::vector<PlaneLayout> aidl, hidl;
    EXPECT_EQ(mapper.getPlaneLayouts(buffer, &aidl), 0);
    EXPECT_EQ(hidlMapper.getPlaneLayouts(buffer, &hidl), 0);
    EXPECT_EQ(hidl, aidl);

    void *data = nullptr, *hidlData = nullptr;
    int pixel = 77, stride = 77, hidlPixel = 77, hidlStride = 77;
    EXPECT_EQ(mapper.lock(buffer, kCpu, {}, -1, &data, &pixel, &stride), 0);
    EXPECT_EQ(hidlMapper.lock(buffer, kCpu, {}, -1, &hidlData, &hidlPixel, &hidlStride), 0);
    EXPECT_EQ(std::tuple(hidlData, hidlPixel, hidlStride), std::tuple(data, pixel, stride));
    expectUnlocked(mapper.unlock(buffer));
    expectUnlocked(hidlMapper.unlock(buffer));

    android_ycbcr ycbcr, hidlYcbcr;
    const bool described = hidlMapper.lock(buffer, kCpu, {}, -1, &hidlYcbcr) == 0;
    EXPECT_EQ(mapper.lock(buffer, kCpu, {}, -1, &ycbcr), described ? 0 : 3);
    // Only the AIDL one takes a plane without components for luma.
    if (described && !aidl[0].components.empty()) {
        EXPECT_EQ(memcmp(&hidlYcbcr, &ycbcr, sizeof(ycbcr)), 0);
    }
    for (int locks = described ? 2 : 0; locks > 0; --locks) {
        expectUnlocked(mapper.unlock(buffer));
    }
}

TEST_F(LiveTest, AnswersMappersAndPairsAgreeOnEveryFormat) {
    for (const int32_t format : {0x1, 0x3, 0x5, kNv21, 0x14, 0x20, kBlob, 0x24, 0x25, 0x36, 0x111,
                                 0x1000, 0x20203859, kYv12}) {
        for (const auto& [width, height] : {std::pair(1920, 1080), {1921, 1083}}) {
            SCOPED_TRACE(testing::Message() << format << " " << width << "x" << height);
            ASSERT_NO_FATAL_FAILURE(expectDescribed(format, width, height));
            const native_handle* hidlBuffer = nullptr;
            uint32_t stride = 0;
            const bool is420 =
                    format == kNv21 || format == 0x36 || format == 0x1000 || format == kYv12;
            const bool isRefused = isStrict() && is420 && width % 2 != 0;
            EXPECT_EQ(hidlAllocator.allocate(width, height, HidlFormat(format), 1, kCpu,
                                             &hidlBuffer, &stride, 0, ""),
                      isRefused ? -12 : 0);
            if (isRefused) {
                continue;
            }
            expectBothMappersAlike(hidlBuffer);
            EXPECT_EQ(allocator.free(hidlBuffer), 0);
        }
    }
    for (const int32_t format : {0x2, 0x4, 0x10, 0x20363159}) {
        EXPECT_EQ(request({0, format, 64, 32}), answerToConcrete(-2)) << "no rule";
    }
    for (const zcam::GrallocRequest& impossible :
         {zcam::GrallocRequest{0, 0x1, 0x7FFFFFFF, 0x7FFFFFFF}, {0, 0x7777, 4, 4}}) {
        EXPECT_EQ(request(impossible), -12);
    }
}

using enum NSCam::GrallocMapperAidlV2::StandardMetadataType;
const std::vector<uint8_t> kPayload(600, 7);

uint32_t statusOf(const native_handle* buffer) {
    plexa_sf_record_t record = {};
    uint32_t word = 0;
    EXPECT_EQ(plexa_query(buffer, PLEXA_GET_SF_INFO, &record), 0);
    memcpy(&word, &record, sizeof(word));
    return word;
}

// In the other process: sees what the first one has set, and sets some of it anew. Answers the
// number of the first step that went wrong.
int useAsPeer(int socket) {
    const auto received = host::receiveHandle(socket);
    const Live live;
    const native_handle* buffer = received.value;
    const bool steps[] = {
            received.ok() && live.helper.importBuffer(buffer) == 1,
            live.mapper.getStandardMetadata<SMPTE2094_40>(buffer) == std::optional(kPayload),
            statusOf(buffer) == 0x40000000,
            live.mapper.setStandardMetadata<SMPTE2094_40>(buffer, std::nullopt) == 0,
            live.mapper.setStandardMetadata<CTA861_3>(buffer, {{400, 200}}) == 0,
            live.helper.setDirtyCamera(buffer) == 0,
            live.helper.setBufferSOF(buffer, 1) == 0,
            live.helper.freeBuffer(buffer) == 0,
    };
    const auto* const wrong = std::ranges::find(steps, false);
    return wrong == std::end(steps) ? 0 : static_cast<int>(wrong - steps) + 1;
}

TEST(TwoProcesses, SeeEachOthersMetadataAndMarks) {
    const Peer peer = startPeer(useAsPeer);
    const Live live;
    const native_handle* const buffer = live.allocate(kNv21, 640, 480);
    EXPECT_EQ(statusOf(buffer), 0u);
    EXPECT_EQ(live.mapper.setStandardMetadata<SMPTE2094_40>(buffer, kPayload), 0);
    EXPECT_EQ(live.helper.setColorspace_JFIF(buffer), 0);
    EXPECT_EQ(host::sendHandle(peer.socket.get(), buffer), 0);
    EXPECT_EQ(peer.wait(), 0) << "256 for each step done";

    EXPECT_FALSE(live.mapper.getStandardMetadata<SMPTE2094_40>(buffer)->has_value());
    EXPECT_EQ(live.mapper.getStandardMetadata<CTA861_3>(buffer).value()->maxContentLightLevel, 400);
    EXPECT_EQ(statusOf(buffer), 0x40000c03u);
    live.allocator.free(buffer);
}

}  // namespace

}  // namespace zelkcam::test
