// A descriptor that is closed with its holder. Our own class, not the base library's: that one tags
// its descriptors on a phone, and the acquire fence of a lock, which some mappers close as well,
// would then end the process.
//
// Three words for descriptors in this tree: an owned one is a UniqueFd, a borrowed one is an int
// that is never closed, a consumed one is an int parameter that the callee puts into a UniqueFd.
#pragma once

#include <unistd.h>

#include <utility>

namespace NSCam::gralloc {

class UniqueFd {
  public:
    UniqueFd() = default;
    // Takes over `fd`; a negative one stands for none.
    explicit UniqueFd(int fd) : mFd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : mFd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~UniqueFd() { reset(); }

    int get() const { return mFd; }
    bool valid() const { return mFd >= 0; }

    // The caller closes the result.
    [[nodiscard]] int release() { return std::exchange(mFd, -1); }

    // A failed close is not repeated: the descriptor is gone then, and its number may already be
    // somebody else's.
    void reset(int fd = -1) {
        const int old = std::exchange(mFd, fd);
        if (old >= 0) {
            ::close(old);
        }
    }

  private:
    int mFd = -1;
};

}  // namespace NSCam::gralloc
