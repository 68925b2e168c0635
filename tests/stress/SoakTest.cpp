// The same again and again: nothing piles up. ZELKCAM_SOAK_ROUNDS=10000 for a soak worth the name.
#include <sys/eventfd.h>

#include "platform/ulog.h"
#include "tests/stress/Stress.h"
#include "utils/gralloc/hidl/allocator/allocator.h"

namespace zelkcam::stress {

namespace {

using HidlFormat = NSCam::GrallocAllocator::PixelFormat;

TEST(Soak, RequestsLocksAndRefusalsOfBothPairsLeaveNothing) {
    if (isStrict()) {
        GTEST_SKIP() << kFencesPileUp;
    }
    NSCam::Utils::ULog::ULogger::sMode = 0;  // refusals are part of it
    const Live live;
    const NSCam::GrallocMapper::Mapper hidl;
    const NSCam::GrallocAllocator::Allocator pair{hidl};
    const auto round = [&] {
        for (const int32_t format : {0x1, 0x3, 0x5, kNv21, 0x14, 0x20, kBlob, 0x24, 0x25, 0x36,
                                     0x111, 0x1000, 0x20203859, kYv12}) {
            const zcam::GrallocRequest request = {0, format, 1921, 1083};
            zcam::GrallocStaticInfo info;
            EXPECT_EQ(live.helper.query(&request, &info, true), 0);
        }
        const native_handle* buffer = live.allocate(0x36, 64, 32);
        void* data = nullptr;
        android_ycbcr ycbcr;
        EXPECT_EQ(live.helper.lock(buffer, kCpu, 64, 32, &data), 0);
        EXPECT_EQ(live.helper.unlock(buffer), 0);
        EXPECT_EQ(hidl.lock(buffer, kCpu, {}, eventfd(1, EFD_CLOEXEC), &ycbcr), -22);
        EXPECT_EQ(hidl.lock(buffer, kCpu, {-1, 0, 1, 1}, eventfd(1, EFD_CLOEXEC), &data), 3);
        EXPECT_EQ(live.helper.freeBuffer(buffer), 0);
        uint32_t stride = 0;
        EXPECT_NE(pair.allocate({1, 2, 3}, 1, &stride, &buffer), 0);
        EXPECT_EQ(pair.allocate(64, 64, HidlFormat(kNv21), 1, kCpu, &buffer, &stride, 0, ""), 0);
        EXPECT_EQ(pair.free(buffer), 0);
    };
    round();  // builds what is built once
    const Holdings before = holdings();
    for (int i = wanted("ZELKCAM_SOAK_ROUNDS", 100); i > 0 && !testing::Test::HasFailure(); --i) {
        round();
    }
    EXPECT_EQ(holdings(), before);
}

}  // namespace

}  // namespace zelkcam::stress
