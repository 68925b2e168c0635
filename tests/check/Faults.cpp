// A program with one fault: misuse WAY FAULT. Each fault is in the function of its name.
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "tests/check/Buffers.h"
#include "tests/support/Peer.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::test {

namespace {

constexpr uint32_t kWidth = 1000;  // rows of 1024 bytes
constexpr uint32_t kHeight = 480;
constexpr size_t kRow = 1024;
constexpr size_t kSize = kRow * kHeight * 3 / 2;

const native_handle* make(Buffers& buffers) {
    return buffers.allocate(kNv21, kWidth, kHeight);
}

// A write that the compiler keeps.
void touch(unsigned char* address) {
    *static_cast<volatile unsigned char*>(address) = 1;
}

// No fault: ends with 1 unless the fence of an unlock signals soon.
void awaitFence(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kRead);
    pollfd fence{buffers.unlock(handle), POLLIN, 0};
    exit(fence.fd >= 0 && poll(&fence, 1, 500) == 1 ? 0 : 1);
}

struct sigaction gHandlerBefore;

// As crash reporters do. The handler before has nobody to hand the fault on to but the one before
// it.
void handOn(int signal, siginfo_t* info, void* context) {
    static int calls = 0;
    if (++calls > 1) {
        _exit(3);
    }
    gHandlerBefore.sa_sigaction(signal, info, context);
}

}  // namespace

#define FAULT extern "C" __attribute__((noinline)) void

FAULT neverFree(Buffers& buffers) {
    make(buffers);
}

FAULT neverUnlock(Buffers& buffers) {
    buffers.lock(make(buffers), kReadWrite);
}

FAULT freeUnderLock(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kReadWrite);
    buffers.free(handle);
}

FAULT freeTwice(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.free(handle);
    buffers.free(make(buffers));
    buffers.free(handle);
}

FAULT lockAfterFree(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.free(handle);
    buffers.lock(handle, kRead);
}

// Once, however many things a query asks for.
FAULT queryAfterFree(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.free(handle);
    zcam::GrallocStaticInfo layout;
    NSCam::IGrallocHelper::singleton()->query(handle, &layout, nullptr);
}

FAULT lockRaw(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    native_handle* const raw = native_handle_clone(handle);
    buffers.lock(raw, kRead);
    native_handle_close(raw);
    native_handle_delete(raw);
    buffers.free(handle);
}

FAULT unlockTwice(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kRead);
    buffers.unlock(handle);
    buffers.unlock(handle);
    buffers.free(handle);
}

FAULT lockForWritingTwice(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const native_handle* const again = buffers.import(handle);
    buffers.lock(handle, kReadWrite);
    buffers.lock(again, kReadWrite);
    buffers.unlock(handle);
    buffers.unlock(again);
    buffers.free(handle);
    buffers.free(again);
}

FAULT lockForWritingInTwoProcesses(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const Peer other = startPeer([&](int socket) {
        buffers.lock(handle, kReadWrite);
        write(socket, "", 1);
        pollfd ended{socket, POLLIN, 0};
        return poll(&ended, 1, -1);
    });
    pollfd locked{other.socket.get(), POLLIN, 0};
    poll(&locked, 1, -1);
    buffers.lock(handle, kReadWrite);
    buffers.unlock(handle);
    buffers.free(handle);
}

FAULT touchAfterUnlock(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    unsigned char* const pixels = buffers.lock(handle, kReadWrite);
    buffers.unlock(handle);
    touch(pixels + 5);
}

FAULT touchAndHandFaultOn(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    unsigned char* const pixels = buffers.lock(handle, kReadWrite);
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = handOn;
    sigaction(SIGSEGV, &action, &gHandlerBefore);
    buffers.unlock(handle);
    touch(pixels);
}

FAULT touchBefore(Buffers& buffers) {
    touch(buffers.lock(make(buffers), kReadWrite) - 1);
}

FAULT touchBehind(Buffers& buffers) {
    memset(buffers.lock(make(buffers), kReadWrite), 7, 2 * kSize);
}

FAULT writeTheLastPage(Buffers& buffers) {
    const native_handle* const handle = buffers.allocate(0x21, 5000, 1);
    touch(buffers.lock(handle, kReadWrite) + 5000);
    buffers.unlock(handle);
    buffers.free(handle);
}

FAULT writeWhileReading(Buffers& buffers) {
    touch(buffers.lock(make(buffers), kRead) + 3);
}

FAULT takeWidthForStride(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    unsigned char* const pixels = buffers.lock(handle, kReadWrite);
    memset(pixels, 5, size_t{kWidth} * kHeight);
    memset(pixels + kRow * kHeight, 6, size_t{kWidth} * kHeight / 2);
    buffers.unlock(handle);
    buffers.free(handle);
}

FAULT overrunOneRow(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    unsigned char* const pixels = buffers.lock(handle, kReadWrite);
    memset(pixels + kRow * (kHeight + 17), 5, kWidth + 1);
    buffers.unlock(handle);
    buffers.free(handle);
}

FAULT closeFenceOfLock(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const int fence = eventfd(1, 0);
    buffers.lock(handle, kRead, fence);
    close(fence);
    buffers.unlock(handle);
    buffers.free(handle);
}

FAULT closeBuffersDescriptor(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    close(handle->data[0]);
    buffers.free(handle);
}

// What the platform itself closed before does not make a clearing up of it.
FAULT closeBuffersDescriptorOfMany(Buffers& buffers) {
    const native_handle* handles[8];
    for (const native_handle*& handle : handles) {
        handle = make(buffers);
    }
    close(handles[0]->data[0]);
    for (const native_handle* const handle : handles) {
        buffers.free(handle);
    }
}

FAULT closeRangeOfBuffer(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const auto descriptor = static_cast<unsigned>(handle->data[1]);
    close_range(descriptor, descriptor + 1, 0);
    buffers.free(handle);
}

FAULT closeBuffersDescriptorInside(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    fclose(fdopen(handle->data[0], "r"));
    buffers.free(handle);
}

FAULT replaceBuffersDescriptor(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    dup2(STDERR_FILENO, handle->data[0]);
    buffers.free(handle);
}

FAULT closeBuffersDescriptorAfterFree(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const int descriptor = handle->data[0];
    buffers.free(handle);
    close(descriptor);
}

FAULT dropFence(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kRead);
    buffers.unlock(handle);
    buffers.free(handle);
}

FAULT closeFenceTwice(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kRead);
    const int fence = buffers.unlock(handle);
    close(fence);
    close(fence);
    buffers.free(handle);
}

FAULT leakInChild(Buffers& buffers) {
    const pid_t child = fork();
    if (child == 0) {
        neverFree(buffers);
        exit(0);
    }
    waitpid(child, nullptr, 0);
}

namespace {

#define RUN(fault)        \
    if (name == #fault) { \
        fault(buffers);   \
        return true;      \
    }

// Called by name: a call through a pointer tells nobody which function left no frame.
bool run(std::string_view name, Buffers& buffers) {
    // clang-format off
    RUN(neverFree)
    RUN(neverUnlock)
    RUN(freeUnderLock)
    RUN(freeTwice)
    RUN(lockAfterFree)
    RUN(queryAfterFree)
    RUN(lockRaw)
    RUN(unlockTwice)
    RUN(lockForWritingTwice)
    RUN(lockForWritingInTwoProcesses)
    RUN(touchAfterUnlock)
    RUN(touchAndHandFaultOn)
    RUN(touchBefore)
    RUN(touchBehind)
    RUN(writeTheLastPage)
    RUN(writeWhileReading)
    RUN(takeWidthForStride)
    RUN(overrunOneRow)
    RUN(closeFenceOfLock)
    RUN(closeBuffersDescriptor)
    RUN(closeBuffersDescriptorOfMany)
    RUN(closeRangeOfBuffer)
    RUN(closeBuffersDescriptorInside)
    RUN(replaceBuffersDescriptor)
    RUN(closeBuffersDescriptorAfterFree)
    RUN(closeFenceTwice)
    RUN(leakInChild)
    RUN(dropFence)
    RUN(awaitFence)
    // clang-format on
    return false;
}

}  // namespace

}  // namespace zelkcam::test

int main(int argc, char** argv) {
    using namespace zelkcam::test;
    if (argc != 3 || !run(argv[2], buffersBy(argv[1]))) {
        fprintf(stderr, "usage: misuse facade|aidl|hidl FAULT\n");
        return 2;
    }
    return 0;
}
