// Processes that die at any moment while they share buffers with one that lives on.
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>
#include <zelkcam/host/HandleTransport.h>

#include "tests/stress/Stress.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::stress {

namespace {

using NSCam::IGrallocHelper;
using namespace NSCam::GrallocMapperAidlV2;
using zelkcam::host::TransportSocket;

// One process's way to the buffers.
struct Device {
    IGrallocHelper& helper = *IGrallocHelper::singleton();
    const MapperV5 mapper{AllocatorAidl::createInstance()};
    const AllocatorAidl allocator{AllocatorAidl::createInstance(), mapper};

    const native_handle* allocate() const {
        const native_handle* made = nullptr;
        uint32_t stride = 0;
        allocator.allocate(256, 128, PixelFormat::YCRCB_420_SP, 1, kCpu, &made, &stride, 0, "");
        return made;
    }
};

// Writes all that a process can write of a buffer.
bool use(const Device& device, const native_handle* buffer, uint8_t value) {
    void* address = nullptr;
    if (device.helper.lock(buffer, kCpu, 256, 128, &address) != 0) {
        return false;
    }
    memset(address, value, 256 * 128);
    std::vector<uint8_t> payload(200, value);
    return device.helper.unlock(buffer) == 0 &&
           device.mapper.setGrallocMeta(buffer, GRALLOC_META_SMPTE2094_40, &payload, 0) == 0 &&
           device.helper.setDirtyCamera(buffer) == 0 && device.helper.setBufferSOF(buffer, 1) == 0;
}

// A value that a killed writer left half written would mix two of them.
bool isWhole(const Device& device, const native_handle* buffer) {
    const auto payload =
            device.mapper.getStandardMetadata<StandardMetadataType::SMPTE2094_40>(buffer);
    if (!payload) {
        return false;
    }
    return !*payload || (payload->value().size() == 200 &&
                         std::ranges::count(payload->value(), payload->value()[0]) == 200);
}

// Uses the buffer that it was started with and one that it hands over, until it is killed.
[[noreturn]] void sharer(const Device& device, const native_handle* inherited, int socket) {
    const native_handle* const own = device.allocate();
    if (own == nullptr || host::sendHandle(socket, own) != 0) {
        _exit(1);
    }
    for (uint8_t value = 0;; ++value) {
        const native_handle* again = inherited;
        if (device.helper.importBuffer(again) != 1) {
            _exit(2);
        }
        // A killed process holds nothing that a living one has to wait for longer than a moment.
        if (!use(device, again, value) || !use(device, own, value)) {
            _exit(3);
        }
        device.helper.freeBuffer(again);
    }
}

struct Child {
    pid_t id;
    TransportSocket socket;
};

Child start(const Device& device, const native_handle* buffer) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        abort();
    }
    const pid_t id = fork();
    if (id == 0) {
        close(ends[0]);
        sharer(device, buffer, ends[1]);
    }
    close(ends[1]);
    return {id, TransportSocket(ends[0])};
}

// Null when the child died before it had sent.
const native_handle* receive(const Device& device, const Child& child) {
    const auto received = host::receiveHandle(child.socket.get());
    if (!received.ok()) {
        return nullptr;
    }
    const native_handle* handle = received.value;
    EXPECT_EQ(device.helper.importBuffer(handle), 1);
    native_handle_close(received.value);
    native_handle_delete(received.value);
    return handle;
}

void killAt(pid_t child, std::chrono::microseconds moment) {
    std::this_thread::sleep_for(moment);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
            << "ended by itself: " << status;
}

// Two processes at once, of which one dies while the other is at work.
void oneRound(const Device& device, const native_handle* buffer, Chance& chance) {
    const Child first = start(device, buffer);
    const Child second = start(device, buffer);
    const native_handle* const received = chance.below(8) != 0 ? receive(device, first) : nullptr;
    killAt(first.id, std::chrono::microseconds(chance.below(8000)));
    EXPECT_TRUE(isWhole(device, buffer));
    EXPECT_TRUE(use(device, buffer, 7));
    if (received != nullptr) {
        EXPECT_TRUE(isWhole(device, received));
        EXPECT_TRUE(use(device, received, 9));
        EXPECT_EQ(device.helper.freeBuffer(received), 0);
    }
    killAt(second.id, std::chrono::microseconds(chance.below(4000)));
}

TEST(KilledProcesses, LeaveTheBuffersTheyShareInOrderAndNothingElseBehind) {
    const Device device;
    const native_handle* const buffer = device.allocate();
    ASSERT_TRUE(use(device, buffer, 1));
    Chance chance(1);
    oneRound(device, buffer, chance);  // what is built once
    const Holdings before = holdings();
    size_t rounds = 0;
    for (const auto end = Clock::now() + duration(); Clock::now() < end; ++rounds) {
        oneRound(device, buffer, chance);
    }
    EXPECT_EQ(holdings(), before);
    EXPECT_TRUE(isWhole(device, buffer));
    printf("%zu processes killed\n", 2 * rounds);
    EXPECT_EQ(device.helper.freeBuffer(buffer), 0);
}

}  // namespace

}  // namespace zelkcam::stress
