#include <errno.h>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include <android/binder_auto_utils.h>
#include <gtest/gtest.h>
#include <sync/sync.h>

#include "tests/support/Alarms.h"

namespace {

using ndk::ScopedFileDescriptor;

ScopedFileDescriptor fence(bool isSignalled) {
    return ScopedFileDescriptor(eventfd(isSignalled ? 1 : 0, EFD_CLOEXEC));
}

// 0, or the errno of the failure.
int waitFor(int fd, int timeout) {
    const int result = sync_wait(fd, timeout);
    EXPECT_TRUE(result == 0 || result == -1) << result;
    return result == 0 ? 0 : errno;
}

TEST(SyncWait, AnswersByTheStateOfTheFence) {
    EXPECT_EQ(waitFor(fence(true).get(), 0), 0);
    EXPECT_EQ(waitFor(fence(true).get(), -1), 0);
    EXPECT_EQ(waitFor(fence(false).get(), 0), ETIME);
    EXPECT_EQ(waitFor(fence(false).get(), 10), ETIME);
    // Without looking at the timeout: this would wait for ever.
    EXPECT_EQ(waitFor(-1, -1), EINVAL);
    const int closed = fence(true).get();
    EXPECT_EQ(waitFor(closed, -1), EINVAL);
}

// A descriptor with an error is no fence; one that hung up has nothing more to wait for.
TEST(SyncWait, TellsAnErrorFromAHangUp) {
    int failed[2], hungUp[2];
    ASSERT_EQ(pipe2(failed, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(hungUp, O_CLOEXEC), 0);
    close(failed[0]);
    close(hungUp[1]);
    EXPECT_EQ(waitFor(ScopedFileDescriptor(failed[1]).get(), 0), EINVAL);
    EXPECT_EQ(waitFor(ScopedFileDescriptor(hungUp[0]).get(), 0), 0);
}

TEST(SyncWait, WaitsAcrossSignals) {
    const zelkcam::test::Alarms alarms;
    const ScopedFileDescriptor late = fence(false);
    std::thread signaller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(eventfd_write(late.get(), 1), 0);
    });
    EXPECT_EQ(waitFor(late.get(), -1), 0);
    signaller.join();
}

TEST(SyncMerge, FollowsTheInputThatIsStillUndecided) {
    const ScopedFileDescriptor done = fence(true);
    const ScopedFileDescriptor pending = fence(false);
    const int pairs[][2] = {
            {done.get(), pending.get()}, {pending.get(), done.get()}, {pending.get(), -1}};
    for (const auto& pair : pairs) {
        const ScopedFileDescriptor merged(sync_merge("both", pair[0], pair[1]));
        ASSERT_NE(merged.get(), -1);
        EXPECT_NE(fcntl(merged.get(), F_GETFD) & FD_CLOEXEC, 0);
        EXPECT_EQ(waitFor(merged.get(), 0), ETIME);
    }
    EXPECT_EQ(waitFor(ScopedFileDescriptor(sync_merge("", done.get(), done.get())).get(), 0), 0);
    // Two open ends have no union that one descriptor could stand for.
    EXPECT_EQ(sync_merge("both", pending.get(), pending.get()), -1);
    EXPECT_EQ(sync_merge("none", -1, -1), -1);
}

}  // namespace
