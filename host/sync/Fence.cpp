#include "host/sync/Fence.h"

#include <poll.h>

#include <cerrno>

namespace zelkcam::host {

int waitForFence(int fd, int timeout) {
    if (fd < 0) {
        return EINVAL;
    }
    pollfd fence = {fd, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&fence, 1, timeout);
    } while (ready < 0 && (errno == EINTR || errno == EAGAIN));
    if (ready <= 0) {
        return ready == 0 ? ETIME : errno;
    }
    return (fence.revents & (POLLERR | POLLNVAL)) != 0 ? EINVAL : 0;
}

}  // namespace zelkcam::host
