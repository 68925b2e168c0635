// Handles that the test owns, and two connected ends in one process to send them between.
#pragma once

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "zelkcam/host/HandleTransport.h"

namespace zelkcam::test {

struct Connection {
    Connection() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        sender.reset(ends[0]);
        receiver.reset(ends[1]);
    }
    host::TransportSocket sender, receiver;
};

// Owns the handle and its descriptors, as the receiver of one does.
class OwnedHandle {
  public:
    explicit OwnedHandle(native_handle_t* handle) : mHandle(handle) {}
    ~OwnedHandle() {
        native_handle_close(mHandle);
        native_handle_delete(mHandle);
    }
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;

    native_handle_t* get() const { return mHandle; }
    native_handle_t* operator->() const { return mHandle; }
    std::vector<int> ints() const {
        const int* first = mHandle->data + mHandle->numFds;
        return {first, first + mHandle->numInts};
    }

  private:
    native_handle_t* mHandle;
};

// A handle of fresh memory files, each of its own.
inline native_handle_t* newHandle(int numFds, const std::vector<int>& ints) {
    native_handle_t* handle = native_handle_create(numFds, static_cast<int>(ints.size()));
    std::generate_n(handle->data, numFds, [] { return memfd_create("handle", MFD_CLOEXEC); });
    std::copy(ints.begin(), ints.end(), handle->data + numFds);
    return handle;
}

}  // namespace zelkcam::test
