// The same again and again: nothing piles up. ZELKCAM_SOAK_ROUNDS=10000 for a soak worth the name.
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstring>

#include "platform/ulog.h"
#include "tests/stress/Stress.h"
#include "utils/gralloc/hidl/allocator/allocator.h"

namespace zelkcam::stress {

namespace {

using HidlFormat = NSCam::GrallocAllocator::PixelFormat;

class SoakTest : public testing::Test, public Live {
  protected:
    SoakTest() { NSCam::Utils::ULog::ULogger::sMode = 0; }  // refusals are part of it
    ~SoakTest() override { close(mSignalled); }

    // The first round builds what is built once.
    static void expectNothingLeft(const std::function<void()>& round) {
        round();
        const Holdings before = holdings();
        for (int i = wanted("ZELKCAM_SOAK_ROUNDS", 100); i > 0 && !HasFailure(); --i) {
            round();
        }
        EXPECT_EQ(holdings(), before);
    }

    int newFence() const { return dup(mSignalled); }

  private:
    const int mSignalled = eventfd(1, EFD_CLOEXEC);
};

TEST_F(SoakTest, ForcedRequestsOfEveryRuleAndLocksLeaveNothing) {
    expectNothingLeft([&] {
        for (const int32_t format : {0x1, 0x3, 0x5, kNv21, 0x14, 0x20, kBlob, 0x24, 0x25, 0x36,
                                     0x111, 0x1000, 0x20203859, kYv12}) {
            const zcam::GrallocRequest request = {0, format, 1921, 1083};
            zcam::GrallocStaticInfo info;
            EXPECT_EQ(helper.query(&request, &info, true), 0);
        }
        const native_handle* const buffer = allocate(kNv21, 64, 32);
        void* address = nullptr;
        EXPECT_EQ(helper.lock(buffer, kCpu, 64, 32, &address), 0);
        EXPECT_EQ(helper.unlock(buffer), 0);
        EXPECT_EQ(helper.freeBuffer(buffer), 0);
    });
}

TEST_F(SoakTest, TheHidlPairLeavesNothingServedOrRefused) {
    const NSCam::GrallocMapper::Mapper hidl;
    const NSCam::GrallocAllocator::Allocator pair{hidl};
    const auto made = [&](int32_t format) {
        const native_handle* handle = nullptr;
        uint32_t stride = 0;
        EXPECT_EQ(pair.allocate(64, 64, HidlFormat(format), 1, kCpu, &handle, &stride, 0, ""), 0);
        return handle;
    };
    expectNothingLeft([&] {
        const native_handle* const buffer = made(kNv21);
        void* data = nullptr;
        EXPECT_EQ(hidl.lock(buffer, kCpu, {0, 0, 64, 64}, newFence(), &data), 0);
        memset(data, 0x5A, 64 * 64);
        EXPECT_EQ(hidl.unlock(buffer), -1);
        EXPECT_EQ(pair.free(buffer), 0);

        const native_handle* const deep = made(0x36);
        android_ycbcr ycbcr;
        EXPECT_EQ(hidl.lock(deep, kCpu, {}, newFence(), &ycbcr), -22);
        EXPECT_EQ(hidl.lock(deep, kCpu, {-1, 0, 1, 1}, newFence(), &data), 3);
        EXPECT_EQ(pair.free(deep), 0);
        const native_handle* none = nullptr;
        uint32_t stride = 0;
        EXPECT_NE(pair.allocate({1, 2, 3}, 1, &stride, &none), 0);
        EXPECT_EQ(none, nullptr);
    });
}

}  // namespace

}  // namespace zelkcam::stress
