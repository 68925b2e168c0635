// Processes that die at any moment while they share buffers with one that lives on.
#include <signal.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "tests/stress/Stress.h"
#include "tests/support/Peer.h"

namespace zelkcam::stress {

namespace {

const native_handle* allocate(const Live& live) {
    return live.allocate(kNv21, 256, 128);
}

// Writes all that a process can write of a buffer.
bool use(const Live& live, const native_handle* buffer, uint8_t value) {
    void* address = nullptr;
    if (live.helper.lock(buffer, kCpu, 256, 128, &address) != 0) {
        return false;
    }
    memset(address, value, 256 * 128);
    std::vector<uint8_t> payload(200, value);
    return live.helper.unlock(buffer) == 0 &&
           live.mapper.setGrallocMeta(buffer, GRALLOC_META_SMPTE2094_40, &payload, 0) == 0 &&
           live.helper.setDirtyCamera(buffer) == 0 && live.helper.setBufferSOF(buffer, 1) == 0;
}

// A value that a killed writer left half written would mix two of them.
bool isWhole(const Live& live, const native_handle* buffer) {
    const auto payload =
            live.mapper.getStandardMetadata<StandardMetadataType::SMPTE2094_40>(buffer);
    if (!payload) {
        return false;
    }
    return !*payload || (payload->value().size() == 200 &&
                         std::ranges::count(payload->value(), payload->value()[0]) == 200);
}

// Uses the buffer that it was started with and one that it hands over, until it is killed.
int share(const Live& live, const native_handle* inherited, int socket) {
    const native_handle* const own = allocate(live);
    if (own == nullptr || host::sendHandle(socket, own) != 0) {
        return 1;
    }
    for (uint8_t value = 0;; ++value) {
        const native_handle* again = inherited;
        if (live.helper.importBuffer(again) != 1) {
            return 2;
        }
        // A killed process holds nothing that a living one has to wait for longer than a moment.
        if (!use(live, again, value) || !use(live, own, value)) {
            return 3;
        }
        live.helper.freeBuffer(again);
    }
}

// Null when the child died before it had sent.
const native_handle* receive(const Live& live, const Peer& child) {
    const auto received = host::receiveHandle(child.socket.get());
    if (!received.ok()) {
        return nullptr;
    }
    const native_handle* handle = received.value;
    EXPECT_EQ(live.helper.importBuffer(handle), 1);
    native_handle_close(received.value);
    native_handle_delete(received.value);
    return handle;
}

void killAt(const Peer& child, std::chrono::microseconds moment) {
    std::this_thread::sleep_for(moment);
    kill(child.id, SIGKILL);
    const int status = child.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
            << "ended by itself: " << status;
}

// Two processes at once, of which one dies while the other is at work.
void oneRound(const Live& live, const native_handle* buffer, Chance& chance) {
    const auto sharer = [&](int socket) { return share(live, buffer, socket); };
    const Peer first = startPeer(sharer);
    const Peer second = startPeer(sharer);
    const native_handle* const received = chance.below(8) != 0 ? receive(live, first) : nullptr;
    killAt(first, std::chrono::microseconds(chance.below(8000)));
    EXPECT_TRUE(isWhole(live, buffer));
    EXPECT_TRUE(use(live, buffer, 7));
    if (received != nullptr) {
        EXPECT_TRUE(isWhole(live, received));
        EXPECT_TRUE(use(live, received, 9));
        EXPECT_EQ(live.helper.freeBuffer(received), 0);
    }
    killAt(second, std::chrono::microseconds(chance.below(4000)));
}

TEST(KilledProcesses, LeaveTheBuffersTheyShareInOrderAndNothingElse) {
    if (isStrict()) {
        GTEST_SKIP() << kFencesPileUp;
    }
    const Live live;
    const native_handle* const buffer = allocate(live);
    ASSERT_TRUE(use(live, buffer, 1));
    Chance chance(1);
    oneRound(live, buffer, chance);  // what is built once
    const Holdings before = holdings();
    size_t rounds = 0;
    for (const auto end = Clock::now() + duration(); Clock::now() < end; ++rounds) {
        oneRound(live, buffer, chance);
    }
    EXPECT_EQ(holdings(), before);
    EXPECT_TRUE(isWhole(live, buffer));
    printf("%zu processes killed\n", 2 * rounds);
    EXPECT_EQ(live.helper.freeBuffer(buffer), 0);
}

}  // namespace

}  // namespace zelkcam::stress
