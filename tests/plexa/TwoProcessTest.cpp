// The extension over the host's own mapper, from two processes.
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include <gtest/gtest.h>

#include "platform/plexa.h"
#include "tests/host/gralloc/Buffers.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "zelkcam/host/HandleTransport.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::common::PixelFormat;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocMapperAidlV2::MapperV5;

constexpr uint64_t kTime = 0x0123456789abcdef;

class HostBuffer {
  public:
    HostBuffer(int32_t format, uint64_t usage) {
        EXPECT_EQ(mAllocator.allocate(641, 481, static_cast<PixelFormat>(format), 1, usage,
                                      &mHandle, &stride, 0, "plexa"),
                  0);
    }
    ~HostBuffer() { mAllocator.free(mHandle); }
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;

    const native_handle* handle() const { return mHandle; }

    uint32_t stride = 0;

  private:
    MapperV5 mMapper{AllocatorAidl::createInstance()};
    AllocatorAidl mAllocator{AllocatorAidl::createInstance(), mMapper};
    const native_handle* mHandle = nullptr;
};

uint32_t statusOf(const native_handle* handle) {
    plexa_sf_record_t record{};
    EXPECT_EQ(plexa_query(handle, PLEXA_GET_SF_INFO, &record), 0);
    uint32_t word;
    memcpy(&word, &record, sizeof(word));
    return word;
}

// In the other process: sees the first one's status word, and leaves a mark and a time of its own.
// The exit status says how far it came.
int markAsPeer(int socket) {
    const auto received = host::receiveHandle(socket);
    if (!received.ok()) {
        return 1;
    }
    NSCam::IGrallocHelper* helper = NSCam::IGrallocHelper::singleton();
    const native_handle* buffer = received.value;
    if (helper->importBuffer(buffer) != 1) {
        return 2;
    }
    if (statusOf(buffer) != 0x5ffff3fc) {
        return 3;
    }
    if (helper->setDirtyCamera(buffer) != 0 || helper->setBufferSOF(buffer, kTime) != 0) {
        return 4;
    }
    return helper->freeBuffer(buffer) == 0 ? 0 : 5;
}

TEST(PlexaOnTheHost, TwoProcessesSeeEachOthersMarks) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const host::TransportSocket mine(ends[0]), other(ends[1]);
    const pid_t peer = fork();
    if (peer == 0) {
        _exit(markAsPeer(other.get()));
    }

    const HostBuffer buffer(0x11, 0x33);
    EXPECT_EQ(statusOf(buffer.handle()), 0u);
    plexa_sf_record_t record{};
    EXPECT_EQ(plexa_sf_set_status(&record, -1, static_cast<int>(0xfffff3fc)), 0);
    EXPECT_EQ(plexa_perform(buffer.handle(), PLEXA_SET_SF_INFO, &record), 0);
    EXPECT_EQ(NSCam::IGrallocHelper::singleton()->setColorspace_JFIF(buffer.handle()), 0);
    EXPECT_EQ(host::sendHandle(mine.get(), buffer.handle()), 0);

    int status = -1;
    ASSERT_EQ(waitpid(peer, &status, 0), peer);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(statusOf(buffer.handle()), 0x5fffffffu);
    uint64_t time = 0;
    EXPECT_EQ(
            mapper().getMetadata(buffer.handle(), {kPlexaName, PLEXA_SET_SOF}, &time, sizeof(time)),
            int32_t{sizeof(time)});
    EXPECT_EQ(time, kTime);
}

TEST(PlexaOnTheHost, DescribesWhatTheAllocatorMade) {
    const HostBuffer buffer(0x22, 0x60000);  // zero shutter lag
    const struct {
        int attribute;
        int32_t value;
    } kValues[] = {{PLEXA_GET_FORMAT, 0x111},
                   {PLEXA_GET_USAGE, 0x60000},
                   {PLEXA_GET_WIDTH, 641},
                   {PLEXA_GET_STRIDE, static_cast<int32_t>(buffer.stride)},
                   {PLEXA_GET_ION_FD, buffer.handle()->data[0]}};
    for (const auto& [attribute, value] : kValues) {
        int32_t read = -1;
        EXPECT_EQ(plexa_query(buffer.handle(), attribute, &read), 0);
        EXPECT_EQ(read, value) << "attribute " << attribute;
    }
}

}  // namespace
}  // namespace zelkcam::test
