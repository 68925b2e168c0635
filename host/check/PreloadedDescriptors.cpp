// libzelkcam_check_descriptors.so: preloaded before a program that is checked. It sees descriptors
// closed and does nothing else; in a process without the checker it only hands the calls on.
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/close_range.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "host/check/DescriptorHooks.h"

namespace {

// A range as short as this one names single descriptors.
constexpr unsigned kShortRange = 8;

std::atomic<const DescriptorHooks*> gHooks{nullptr};

// The checker closes descriptors of its own while it works on one that the program closes.
thread_local bool tlsInside __attribute__((tls_model("initial-exec"))) = false;

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Null when nobody watches.
const DescriptorHooks* watcher() {
    return tlsInside ? nullptr : gHooks.load(std::memory_order_acquire);
}

class Inside {
  public:
    Inside() { tlsInside = true; }
    ~Inside() {
        tlsInside = false;
        errno = mErrno;
    }

  private:
    int mErrno = errno;
};

bool mayClose(const DescriptorHooks& hooks, int fd) {
    const Inside inside;
    return hooks.mayClose(fd);
}

void tellClosed(const DescriptorHooks& hooks, int fd, bool wasOpen) {
    const Inside inside;
    hooks.closed(fd, wasOpen);
}

int tellDuplicated(int from, int to) {
    const DescriptorHooks* const hooks = watcher();
    if (hooks != nullptr && to >= 0) {
        const Inside inside;
        hooks->duplicated(from, to);
    }
    return to;
}

// Runs `replace`, which closes `fd` on its way to giving the number a new meaning.
template <typename Replace>
int replacing(int fd, Replace&& replace) {
    const DescriptorHooks* const hooks = watcher();
    if (hooks == nullptr || fcntl(fd, F_GETFD) < 0) {
        return replace();
    }
    mayClose(*hooks, fd);
    const int result = replace();
    if (result >= 0) {
        tellClosed(*hooks, fd, true);
    }
    return result;
}

void closeOneByOne(int first, int last) {
    for (int fd = first; fd <= last; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) {
            close(fd);
        }
    }
}

}  // namespace

extern "C" {

void zelkcam_watchDescriptors(const DescriptorHooks* hooks) {
    gHooks.store(hooks, std::memory_order_release);
}

int close(int fd) {
    static auto* const real = next<int(int)>("close");
    const DescriptorHooks* const hooks = watcher();
    if (hooks == nullptr || fd < 0) {
        return real(fd);
    }
    if (!mayClose(*hooks, fd)) {
        return 0;
    }
    const int result = real(fd);
    tellClosed(*hooks, fd, result == 0 || errno != EBADF);
    return result;
}

int dup(int from) {
    static auto* const real = next<int(int)>("dup");
    return tellDuplicated(from, real(from));
}

int dup2(int from, int to) {
    static auto* const real = next<int(int, int)>("dup2");
    return from == to ? real(from, to)
                      : tellDuplicated(from, replacing(to, [&] { return real(from, to); }));
}

int dup3(int from, int to, int flags) {
    static auto* const real = next<int(int, int, int)>("dup3");
    return tellDuplicated(from, replacing(to, [&] { return real(from, to, flags); }));
}

int close_range(unsigned first, unsigned last, int flags) noexcept {
    static auto* const real = next<int(unsigned, unsigned, int)>("close_range");
    const DescriptorHooks* const hooks = watcher();
    if (hooks != nullptr && first <= last && last - first < kShortRange && flags == 0) {
        closeOneByOne(static_cast<int>(first), static_cast<int>(last));
        return 0;
    }
    const int result = real(first, last, flags);
    // Other flags close nothing now.
    if (hooks != nullptr && result == 0 && (flags & ~CLOSE_RANGE_UNSHARE) == 0) {
        const Inside inside;
        hooks->cleared(first, last);
    }
    return result;
}

void closefrom(int first) noexcept {
    static auto* const real = next<void(int)>("closefrom");
    const DescriptorHooks* const hooks = watcher();
    real(first);
    if (hooks != nullptr) {
        const Inside inside;
        hooks->cleared(first > 0 ? static_cast<unsigned>(first) : 0, ~0U);
    }
}

}  // extern "C"
