#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "zelkcam/host/HandleTransport.h"

namespace zelkcam::host {
namespace {

constexpr int kBacklog = 8;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

TransportResult<sockaddr_un> addressOf(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) {
        return {.error = -EINVAL};
    }
    sockaddr_un address{};
    if (path.size() >= sizeof(address.sun_path)) {
        return {.error = -ENAMETOOLONG};
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return {.value = address};
}

TransportResult<TransportSocket> openSocket() {
    TransportSocket socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) {
        return {.error = -errno};
    }
    return {.value = std::move(socket)};
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

TransportResult<TransportSocket> connectTo(const sockaddr_un& address) {
    auto socket = openSocket();
    if (!socket.ok()) {
        return socket;
    }
    int result;
    do {
        result = connect(socket.value.get(), generic(address), sizeof(address));
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        return {.error = -errno};
    }
    return socket;
}

// Nobody listens on a socket file whose server died. Other kinds of files refuse a connection with
// the same error, so the kind is looked at as well.
bool isAbandoned(const sockaddr_un& address) {
    struct stat status;
    return lstat(address.sun_path, &status) == 0 && S_ISSOCK(status.st_mode) &&
           connectTo(address).error == -ECONNREFUSED;
}

int bindReplacing(int socket, const sockaddr_un& address) {
    if (bind(socket, generic(address), sizeof(address)) == 0) {
        return 0;
    }
    const int error = -errno;
    if (error != -EADDRINUSE || !isAbandoned(address)) {
        return error;
    }
    unlink(address.sun_path);
    return bind(socket, generic(address), sizeof(address)) == 0 ? 0 : -errno;
}

}  // namespace

void TransportSocket::reset(int fd) {
    if (mFd >= 0) {
        ::close(mFd);
    }
    mFd = fd;
}

TransportListener& TransportListener::operator=(TransportListener&& other) noexcept {
    if (this != &other) {
        close();
        mSocket = std::move(other.mSocket);
        mPath = std::exchange(other.mPath, {});
    }
    return *this;
}

TransportResult<TransportSocket> TransportListener::accept() const {
    TransportSocket peer(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (peer.get() < 0) {
        return {.error = -errno};
    }
    return {.value = std::move(peer)};
}

void TransportListener::close() {
    if (!mPath.empty()) {
        unlink(mPath.c_str());
        mPath.clear();
    }
    mSocket.reset();
}

TransportResult<TransportListener> listenAt(const std::string& path) {
    const auto address = addressOf(path);
    if (!address.ok()) {
        return {.error = address.error};
    }
    auto socket = openSocket();
    if (!socket.ok()) {
        return {.error = socket.error};
    }
    // The socket's own mode becomes that of its file, so there is no moment with a wider one.
    if (fchmod(socket.value.get(), kOwnerOnly) != 0) {
        return {.error = -errno};
    }
    if (int error = bindReplacing(socket.value.get(), address.value)) {
        return {.error = error};
    }
    TransportListener listener(std::move(socket.value), path);
    if (listen(listener.fd(), kBacklog) != 0) {
        return {.error = -errno};
    }
    return {.value = std::move(listener)};
}

TransportResult<TransportSocket> connectTo(const std::string& path) {
    const auto address = addressOf(path);
    if (!address.ok()) {
        return {.error = address.error};
    }
    return connectTo(address.value);
}

int setTimeout(int socket, std::chrono::milliseconds limit) {
    if (limit.count() < 0) {
        return -EINVAL;
    }
    timeval time{};
    time.tv_sec = static_cast<time_t>(limit.count() / 1000);
    time.tv_usec = static_cast<suseconds_t>(limit.count() % 1000 * 1000);
    for (int direction : {SO_RCVTIMEO, SO_SNDTIMEO}) {
        if (setsockopt(socket, SOL_SOCKET, direction, &time, sizeof(time)) != 0) {
            return -errno;
        }
    }
    return 0;
}

}  // namespace zelkcam::host
