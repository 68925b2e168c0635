// Passing a buffer to another process over a Unix socket, as binder does on a phone.
//
// A handle travels as one message: its descriptors as SCM_RIGHTS, its counts and integers beside
// them. Nothing else of the buffer is sent; the receiver imports the handle through its own mapper,
// which is what judges the descriptors and integers. This file judges the message: magic, version,
// counts, length and the number and kind of descriptors.
//
// Errors are results: 0, or a negative errno. No call throws for anything that a peer does, raises
// SIGPIPE or ends the process. All functions may be called from any thread; one socket must not be
// read, or written, by two threads at once.
#pragma once

#include <chrono>
#include <string>
#include <utility>

#include <cutils/native_handle.h>

namespace zelkcam::host {

// What a message may hold at most; the sender keeps to it and the receiver refuses more. A buffer
// handle has two to four descriptors and some dozens of integers.
inline constexpr int kMaxTransportFds = 16;
inline constexpr int kMaxTransportInts = NATIVE_HANDLE_MAX_INTS;

// A value, or the reason why there is none.
template <typename T>
struct [[nodiscard]] TransportResult {
    int error = 0;  // 0, or a negative errno
    T value{};      // as default-constructed when there is an error

    bool ok() const { return error == 0; }
};

// A socket descriptor that is closed with its owner. Move-only; empty (-1) when
// default-constructed.
class TransportSocket {
  public:
    TransportSocket() = default;
    explicit TransportSocket(int fd) : mFd(fd) {}  // takes `fd` over
    TransportSocket(TransportSocket&& other) noexcept : mFd(other.release()) {}
    TransportSocket& operator=(TransportSocket&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~TransportSocket() { reset(); }

    int get() const { return mFd; }
    [[nodiscard]] int release() { return std::exchange(mFd, -1); }
    void reset(int fd = -1);  // closes what it held, takes `fd` over

  private:
    int mFd = -1;
};

// A listening socket and its file, which is removed with it. Move-only.
class TransportListener {
  public:
    TransportListener() = default;
    TransportListener(TransportSocket socket, std::string path)
        : mSocket(std::move(socket)), mPath(std::move(path)) {}
    TransportListener(TransportListener&& other) noexcept
        : mSocket(std::move(other.mSocket)), mPath(std::exchange(other.mPath, {})) {}
    TransportListener& operator=(TransportListener&& other) noexcept;
    ~TransportListener() { close(); }

    // For poll: readable when a peer waits. Borrowed.
    int fd() const { return mSocket.get(); }

    // Waits for a peer. -EINTR when a signal arrives, so that a server can stop.
    TransportResult<TransportSocket> accept() const;

    // Stops listening and removes the socket's file; nothing when already closed.
    void close();

  private:
    TransportSocket mSocket;
    std::string mPath;
};

// Listens at `path`, which only the same user may then connect to. A socket file that a dead server
// left behind is replaced; anything else at that path is left alone and answered with
// -EADDRINUSE. -ENAMETOOLONG above 107 bytes, -EINVAL for an empty path or one with a NUL in it.
TransportResult<TransportListener> listenAt(const std::string& path);

// Connects to a listener. -ENOENT or -ECONNREFUSED when nobody listens there.
TransportResult<TransportSocket> connectTo(const std::string& path);

// Bounds every later wait on `socket`, in either direction; 0 waits without limit, which is the
// default. A call whose time runs out answers -EAGAIN. A peer is not trusted to send anything, so
// whoever must not hang sets a limit.
[[nodiscard]] int setTimeout(int socket, std::chrono::milliseconds limit);

// Sends `handle` over a connected stream socket. The handle and its descriptors stay the caller's
// and may be closed as soon as the call returns. -EINVAL for null, for a record that is not a
// native_handle and for counts beyond the limits above; -EBADF for a descriptor that is not open;
// -EPIPE when the peer has gone. After a failure the connection's state is unknown: close it.
[[nodiscard]] int sendHandle(int socket, const native_handle_t* handle);

// Receives one handle from a connected stream socket. The caller owns the handle and its
// descriptors (close-on-exec) and releases them with native_handle_close and native_handle_delete.
// On failure nothing is handed out and every descriptor that arrived is closed; close the
// connection then.
//
//   -ECONNRESET       the peer closed the connection before or within a message
//   -EPROTONOSUPPORT  a message of another version
//   -EBADMSG          not such a message: wrong magic, counts beyond the limits, more or fewer
//                     descriptors than announced, ancillary data of another kind; also when this
//                     process cannot hold more descriptors
//   other             what the socket reports, -EAGAIN for a time-out among it
TransportResult<native_handle_t*> receiveHandle(int socket);

}  // namespace zelkcam::host
