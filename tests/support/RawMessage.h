// A message as a peer may send it that keeps to no format.
#pragma once

#include <sys/socket.h>

#include <algorithm>
#include <vector>

namespace zelkcam::test {

inline ssize_t sendRaw(int socket, const void* bytes, size_t size, const std::vector<int>& fds) {
    iovec part{const_cast<void*>(bytes), size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(64 * sizeof(int))] = {};
    if (!fds.empty()) {
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(fds.size() * sizeof(int));
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(fds.size() * sizeof(int));
        std::ranges::copy(fds, reinterpret_cast<int*>(CMSG_DATA(header)));
    }
    return sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
}

}  // namespace zelkcam::test
