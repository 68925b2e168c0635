#include <fcntl.h>

#include <climits>
#include <numeric>
#include <thread>

#include "host/transport/MessageFormat.h"
#include "tests/host/Handles.h"
#include "tests/support/Alarms.h"
#include "tests/support/Holdings.h"
#include "tests/support/RawMessage.h"

namespace zelkcam::test {
namespace {

using host::receiveHandle;
using host::sendHandle;
using host::transport::kMagic;
using host::transport::kVersion;
using host::transport::MessageHeader;

struct Shape {
    int numFds;
    std::vector<int> ints;
};

TEST(Transport, GivesHandlesOfItsOwnOnTheSameFilesInTheirOrder) {
    std::vector<int> most(host::kMaxTransportInts);
    std::iota(most.begin(), most.end(), INT_MIN);
    const Connection connection;
    std::vector<ino_t> inodes;
    const Shape shapes[] = {
            {2, {1, -1, INT_MAX, INT_MIN}}, {0, {}}, {1, {}}, {host::kMaxTransportFds, most}};
    for (const Shape& shape : shapes) {
        const OwnedHandle sent(newHandle(shape.numFds, shape.ints));
        ASSERT_EQ(sendHandle(connection.sender.get(), sent.get()), 0);
        std::transform(sent->data, sent->data + shape.numFds, std::back_inserter(inodes), inodeOf);
    }
    size_t next = 0;
    for (const Shape& shape : shapes) {
        const auto result = receiveHandle(connection.receiver.get());
        ASSERT_TRUE(result.ok()) << result.error;
        const OwnedHandle received(result.value);
        ASSERT_EQ(received->numFds, shape.numFds);
        EXPECT_EQ(received.ints(), shape.ints);
        for (int i = 0; i < shape.numFds; ++i) {
            EXPECT_EQ(inodeOf(received->data[i]), inodes[next++]) << "descriptor " << i;
            EXPECT_EQ(fcntl(received->data[i], F_GETFD), FD_CLOEXEC);
        }
    }
}

TEST(Transport, SendsNothingOfAHandleThatIsNone) {
    const Connection connection;
    const auto send = [&](const native_handle_t* handle) {
        return sendHandle(connection.sender.get(), handle);
    };
    EXPECT_EQ(send(nullptr), -EINVAL);
    EXPECT_EQ(send(OwnedHandle(newHandle(host::kMaxTransportFds + 1, {})).get()), -EINVAL);
    for (const auto& [version, numFds, numInts] : {std::tuple(11, 0, 0),
                                                   {12, -1, 0},
                                                   {12, 0, INT_MIN},
                                                   {12, 0, host::kMaxTransportInts + 1}}) {
        const native_handle_t handle{
                .version = version, .numFds = numFds, .numInts = numInts, .data = {}};
        EXPECT_EQ(send(&handle), -EINVAL);
    }
    const OwnedHandle closed(newHandle(2, {}));
    close(std::exchange(closed->data[1], -1));
    EXPECT_EQ(send(closed.get()), -EBADF);

    char byte;
    EXPECT_EQ(recv(connection.receiver.get(), &byte, 1, MSG_DONTWAIT), -1);
}

TEST(Transport, AnswersAPeerThatHasGoneWithoutASignal) {
    Connection connection;
    connection.receiver.reset();
    const OwnedHandle sent(newHandle(1, {1}));
    EXPECT_EQ(sendHandle(connection.sender.get(), sent.get()), -EPIPE);
    EXPECT_EQ(receiveHandle(connection.sender.get()).error, -ECONNRESET);
}

// What a peer sends instead of a handle: pieces, each with descriptors of its own.
struct Piece {
    std::vector<uint32_t> words;
    int numFds = 0;
    size_t cut = 0;  // bytes left out at the end
};

struct BadMessage {
    const char* name;
    std::vector<Piece> pieces;
    int error = -EBADMSG;
    bool wantsCredentials = false;
};

void sendPiece(int socket, const Piece& piece) {
    std::vector<int> fds(piece.numFds);
    std::generate(fds.begin(), fds.end(), [] { return memfd_create("piece", MFD_CLOEXEC); });
    const auto size = static_cast<ssize_t>(piece.words.size() * 4 - piece.cut);
    EXPECT_EQ(sendRaw(socket, piece.words.data(), size, fds), size);
    std::for_each(fds.begin(), fds.end(), close);
}

const BadMessage kBadMessages[] = {
        {"Nothing", {}, -ECONNRESET},
        {"WrongMagic", {{{kMagic + 1, kVersion, 1, 1, 5}, 1}}},
        {"NewerVersion", {{{kMagic, kVersion + 1, 1, 1, 5}, 1}}, -EPROTONOSUPPORT},
        {"NoDescriptors", {{{kMagic, kVersion, 2, 1, 5}}}},
        {"MoreDescriptorsThanAnnounced", {{{kMagic, kVersion, 1, 1, 5}, 3}}},
        {"DescriptorsFarBeyondTheLimit", {{{kMagic, kVersion, 1, 1, 5}, 64}}},
        {"CountOfDescriptorsNegative", {{{kMagic, kVersion, 0xffffffff, 1, 5}, 1}}},
        {"CountOfIntsNegative", {{{kMagic, kVersion, 1, 0xffffffff, 5}, 1}}},
        {"CountOfIntsWraps", {{{kMagic, kVersion, 1, 0x40000001, 5}, 1}}},
        {"CountOfIntsBeyondTheLimit",
         {{{kMagic, kVersion, 1, 1025}, 1}, {std::vector<uint32_t>(1025)}}},
        {"HeaderCut", {{{kMagic, kVersion, 1, 1}, 1, 1}}, -ECONNRESET},
        {"IntsMissing", {{{kMagic, kVersion, 1, 1}, 1}}, -ECONNRESET},
        {"DescriptorsWithTheInts", {{{kMagic, kVersion, 1, 1}, 1}, {{5}, 1}}},
        {"DescriptorsTwice", {{{kMagic, kVersion}, 1}, {{1, 1, 5}, 1}}},
        {"CredentialsBesideDescriptors", {{{kMagic, kVersion, 1, 1, 5}, 1}}, -EBADMSG, true},
};

TEST(Transport, AMalformedMessageIsRefusedAndNothingStaysOpen) {
    for (const BadMessage& bad : kBadMessages) {
        SCOPED_TRACE(bad.name);
        Connection connection;
        const int on = bad.wantsCredentials ? 1 : 0;
        setsockopt(connection.receiver.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof(on));
        for (const Piece& piece : bad.pieces) {
            sendPiece(connection.sender.get(), piece);
        }
        shutdown(connection.sender.get(), SHUT_WR);
        const Holdings before = holdings();
        const auto result = receiveHandle(connection.receiver.get());
        EXPECT_EQ(result.error, bad.error);
        EXPECT_EQ(result.value, nullptr);
        // The emulator itself keeps the descriptors that a message has no room for.
        const bool surplus = std::any_of(bad.pieces.begin(), bad.pieces.end(),
                                         [](const Piece& piece) { return piece.numFds > 16; });
        if (!ZELKCAM_EMULATED || !surplus) {
            EXPECT_EQ(holdings(), before);
        }
    }
}

TEST(Transport, DescriptorsThatTheProcessCannotHoldCountAsAFailure) {
    const Connection connection;
    const OwnedHandle sent(newHandle(4, {1}));
    ASSERT_EQ(sendHandle(connection.sender.get(), sent.get()), 0);
    const Holdings before = holdings();
    {
        const FewDescriptors few(2);
        EXPECT_EQ(receiveHandle(connection.receiver.get()).error, -EBADMSG);
    }
    EXPECT_EQ(holdings(), before);
}

TEST(Transport, AMessageMayArriveByteByByteAcrossSignals) {
    const Connection connection;
    const Alarms alarms;
    std::thread sender([socket = connection.sender.get()] {
        const uint32_t words[] = {kMagic, kVersion, 0, 2, 3, 4};
        for (size_t i = 0; i < sizeof(words); ++i) {
            usleep(2000);
            EXPECT_EQ(send(socket, reinterpret_cast<const char*>(words) + i, 1, 0), 1);
        }
    });
    const auto result = receiveHandle(connection.receiver.get());
    sender.join();
    ASSERT_TRUE(result.ok()) << result.error;
    EXPECT_EQ(OwnedHandle(result.value).ints(), (std::vector<int>{3, 4}));
}

TEST(Transport, ASilentPeerEndsTheWaitWhenALimitIsSet) {
    const Connection connection;
    using std::chrono::milliseconds;
    EXPECT_EQ(host::setTimeout(connection.receiver.get(), milliseconds(-1)), -EINVAL);
    EXPECT_EQ(host::setTimeout(-1, milliseconds(1)), -EBADF);
    ASSERT_EQ(host::setTimeout(connection.receiver.get(), milliseconds(20)), 0);
    EXPECT_EQ(receiveHandle(connection.receiver.get()).error, -EAGAIN);
    sendPiece(connection.sender.get(), {{kMagic, kVersion, 1, 1}, 1});
    const Holdings before = holdings();
    EXPECT_EQ(receiveHandle(connection.receiver.get()).error, -EAGAIN);
    EXPECT_EQ(holdings(), before);
}

}  // namespace
}  // namespace zelkcam::test
