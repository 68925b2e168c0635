#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

#include "host/transport/MessageFormat.h"
#include "zelkcam/host/HandleTransport.h"

namespace zelkcam::host {
namespace {

using transport::kMagic;
using transport::kVersion;
using transport::MessageHeader;

constexpr size_t kControlSize = CMSG_SPACE(kMaxTransportFds * sizeof(int));

// Room for the ancillary data of one message, aligned as its headers need.
struct alignas(cmsghdr) ControlBuffer {
    std::array<std::byte, kControlSize> bytes{};
};

// The descriptors that arrived with a message: closed unless they are handed on.
class ReceivedFds {
  public:
    ReceivedFds() = default;
    ReceivedFds(const ReceivedFds&) = delete;
    ReceivedFds& operator=(const ReceivedFds&) = delete;
    ~ReceivedFds() {
        for (size_t i = 0; i < mCount; ++i) {
            close(mFds[i]);
        }
    }

    // Takes `fd` over; false, and closed, when there is no room for it.
    bool add(int fd) {
        if (mCount == mFds.size()) {
            close(fd);
            return false;
        }
        mFds[mCount++] = fd;
        return true;
    }
    size_t count() const { return mCount; }
    void moveTo(int* out) {
        std::memcpy(out, mFds.data(), mCount * sizeof(int));
        mCount = 0;
    }

  private:
    std::array<int, kMaxTransportFds> mFds{};
    size_t mCount = 0;
};

// The record alone: its descriptors are owned by ReceivedFds until the record is complete.
struct DeleteRecord {
    void operator()(native_handle_t* record) const { native_handle_delete(record); }
};
using HandleRecord = std::unique_ptr<native_handle_t, DeleteRecord>;

bool isSendable(const native_handle_t* handle) {
    return handle != nullptr && handle->version == static_cast<int>(sizeof(native_handle_t)) &&
           handle->numFds >= 0 && handle->numFds <= kMaxTransportFds && handle->numInts >= 0 &&
           handle->numInts <= kMaxTransportInts;
}

void attachFds(msghdr& message, ControlBuffer& control, std::span<const int> fds) {
    if (fds.empty()) {
        return;
    }
    message.msg_control = control.bytes.data();
    message.msg_controllen = CMSG_SPACE(fds.size_bytes());
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(fds.size_bytes());
    std::memcpy(CMSG_DATA(header), fds.data(), fds.size_bytes());
}

// sendmsg and recvmsg past signals: the number of bytes, or a negative errno.
template <typename Call>
ssize_t pastSignals(Call call) {
    ssize_t result;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result < 0 ? -errno : result;
}

// A stream socket may take less than it was given: the rest follows without the descriptors.
int sendAll(int socket, std::span<const std::byte> bytes, std::span<const int> fds) {
    ControlBuffer control;
    while (!bytes.empty()) {
        iovec part{const_cast<std::byte*>(bytes.data()), bytes.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        attachFds(message, control, fds);
        const ssize_t sent = pastSignals([&] { return sendmsg(socket, &message, MSG_NOSIGNAL); });
        if (sent < 0) {
            return static_cast<int>(sent);
        }
        bytes = bytes.subspan(static_cast<size_t>(sent));
        fds = {};
    }
    return 0;
}

// Takes over what came in one control message; false when it is not a list of descriptors, or one
// longer than any message of ours.
bool takeFds(const cmsghdr& header, ReceivedFds& fds) {
    if (header.cmsg_level != SOL_SOCKET || header.cmsg_type != SCM_RIGHTS) {
        return false;
    }
    const size_t count = (header.cmsg_len - CMSG_LEN(0)) / sizeof(int);
    bool allTaken = true;
    for (size_t i = 0; i < count; ++i) {
        int fd;
        std::memcpy(&fd, CMSG_DATA(&header) + i * sizeof(int), sizeof(fd));
        allTaken = fds.add(fd) && allTaken;
    }
    return allTaken;
}

// Every control message is gone through even when one is refused: what came must be closed.
bool takeAllFds(msghdr& message, ReceivedFds& fds) {
    bool understood = true;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        understood = takeFds(*header, fds) && understood;
    }
    return understood;
}

// Fills `bytes`. Descriptors are accepted with the first read only, and only when `fds` is given:
// without a control buffer the kernel drops what arrives and reports that as MSG_CTRUNC.
int receiveAll(int socket, std::span<std::byte> bytes, ReceivedFds* fds) {
    ControlBuffer control;
    while (!bytes.empty()) {
        iovec part{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = fds != nullptr ? control.bytes.data() : nullptr;
        message.msg_controllen = fds != nullptr ? control.bytes.size() : 0;
        const ssize_t received =
                pastSignals([&] { return recvmsg(socket, &message, MSG_CMSG_CLOEXEC); });
        if (received < 0) {
            return static_cast<int>(received);
        }
        const bool understood = fds == nullptr || takeAllFds(message, *fds);
        if (received == 0) {
            return -ECONNRESET;
        }
        if (!understood || (message.msg_flags & (MSG_CTRUNC | MSG_TRUNC)) != 0) {
            return -EBADMSG;
        }
        bytes = bytes.subspan(static_cast<size_t>(received));
        fds = nullptr;
    }
    return 0;
}

int checkHeader(const MessageHeader& header, const ReceivedFds& fds) {
    if (header.magic != kMagic) {
        return -EBADMSG;
    }
    if (header.version != kVersion) {
        return -EPROTONOSUPPORT;
    }
    // Unsigned, so that a count that means a negative one is beyond the limit as well.
    const bool countsFit = header.numFds <= static_cast<uint32_t>(kMaxTransportFds) &&
                           header.numInts <= static_cast<uint32_t>(kMaxTransportInts);
    return countsFit && header.numFds == fds.count() ? 0 : -EBADMSG;
}

}  // namespace

int sendHandle(int socket, const native_handle_t* handle) {
    if (!isSendable(handle)) {
        return -EINVAL;
    }
    const auto numFds = static_cast<size_t>(handle->numFds);
    const auto numInts = static_cast<size_t>(handle->numInts);
    const MessageHeader header{kMagic, kVersion, static_cast<uint32_t>(numFds),
                               static_cast<uint32_t>(numInts)};
    std::array<std::byte, sizeof(header) + kMaxTransportInts * sizeof(int)> bytes;
    std::memcpy(bytes.data(), &header, sizeof(header));
    std::memcpy(bytes.data() + sizeof(header), handle->data + numFds, numInts * sizeof(int));
    const std::span whole{bytes.data(), sizeof(header) + numInts * sizeof(int)};
    return sendAll(socket, whole, {handle->data, numFds});
}

TransportResult<native_handle_t*> receiveHandle(int socket) {
    MessageHeader header{};
    ReceivedFds fds;
    if (int error = receiveAll(socket, std::as_writable_bytes(std::span{&header, 1}), &fds)) {
        return {.error = error};
    }
    if (int error = checkHeader(header, fds)) {
        return {.error = error};
    }
    HandleRecord record(native_handle_create(static_cast<int>(header.numFds),
                                             static_cast<int>(header.numInts)));
    if (record == nullptr) {
        return {.error = -ENOMEM};
    }
    const std::span ints{record->data + header.numFds, header.numInts};
    if (int error = receiveAll(socket, std::as_writable_bytes(ints), nullptr)) {
        return {.error = error};
    }
    fds.moveTo(record->data);
    return {.value = record.release()};
}

}  // namespace zelkcam::host
