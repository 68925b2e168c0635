#include "host/check/Descriptors.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "host/check/DescriptorHooks.h"
#include "host/check/Findings.h"
#include "host/check/Symbols.h"

namespace zelkcam::host::check {
namespace {

// So many neighbours, buffers' aside, are closed in a loop by nobody who knows what they are.
constexpr int kSweepLength = 8;
// Neighbours may be so far apart when nothing is open between them.
constexpr int kSweepGap = 64;

// Who closed a number last; empty when nobody did. No memory is asked for: programs close
// descriptors in signal handlers. Higher numbers are not remembered.
constexpr size_t kClosedCount = 4096;
struct Closer {
    CallStack stack;
    bool wasFence = false;
};
Closer gClosed[kClosedCount];

struct Known {
    std::string buffer;
    CallStack stack;
    pid_t process;
    std::pair<dev_t, ino_t> file;
};

// One descriptor after the other is closed at one place, upwards or downwards.
struct Sweep {
    pthread_t thread{};
    CallStack stack;
    int last = -1;
    int length = 0;  // without buffers' descriptors, which a program may close for itself
};

struct State {
    std::mutex mutex;
    bool watching = false;
    pid_t process = getpid();
    std::map<int, Known> borrowed;
    std::map<int, Known> fences;
    Sweep sweep;
    std::vector<Finding> pending;
};

State& state() {
    static auto& state = *new State;
    return state;
}

// A signal handler may close a descriptor while this thread is in here.
thread_local bool tlsBusy __attribute__((tls_model("initial-exec"))) = false;

class Hold {
  public:
    Hold() : mGuard(state().mutex) { tlsBusy = true; }
    ~Hold() { tlsBusy = false; }

  private:
    std::lock_guard<std::mutex> mGuard;
};

// Not what the checker does itself, and not what a child of vfork() does: it runs in the memory of
// its parent, with descriptors of its own.
bool isWatched() {
    return !tlsBusy && !isOwnWork() && state().process == getpid();
}

Closer* closerOf(int fd) {
    const auto index = static_cast<size_t>(fd);
    return index < kClosedCount ? &gClosed[index] : nullptr;
}

void forgetCloser(int fd) {
    if (Closer* const closer = closerOf(fd)) {
        *closer = Closer();
    }
}

// Zeros when `fd` is not open.
std::pair<dev_t, ino_t> fileOf(int fd) {
    struct stat status = {};
    fstat(fd, &status);
    return {status.st_dev, status.st_ino};
}

// Unless it is known to be closed, or another file.
bool isStill(int fd, const Known& known) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return errno != EBADF;
    }
    return known.file == std::pair<dev_t, ino_t>() ||
           known.file == std::pair(status.st_dev, status.st_ino);
}

const Known* findOwn(const std::map<int, Known>& known, int fd) {
    const auto found = known.find(fd);
    return found != known.end() && found->second.process == getpid() ? &found->second : nullptr;
}

bool continuesSweep(int fd, const CallStack& stack) {
    const Sweep& sweep = state().sweep;
    if (sweep.last < 0 || pthread_equal(sweep.thread, pthread_self()) == 0 || fd == sweep.last ||
        std::abs(fd - sweep.last) > kSweepGap ||
        !std::ranges::equal(stack.frames(), sweep.stack.frames())) {
        return false;
    }
    int between = std::min(fd, sweep.last) + 1;
    while (between < std::max(fd, sweep.last) && fcntl(between, F_GETFD) < 0) {
        ++between;
    }
    return between == std::max(fd, sweep.last);
}

void noteSweep(int fd, const CallStack& stack, bool continues, bool isBuffers) {
    Sweep& sweep = state().sweep;
    sweep = {pthread_self(), stack, fd, (continues ? sweep.length : 0) + (isBuffers ? 0 : 1)};
    if (sweep.length >= kSweepLength) {
        state().pending.clear();
    }
}

void putOff(Finding finding) {
    if (state().sweep.length < kSweepLength) {
        state().pending.push_back(std::move(finding));
    }
}

std::vector<Finding> takePending(bool sweepsOn) {
    return sweepsOn ? std::vector<Finding>() : std::exchange(state().pending, {});
}

void tellAll(const std::vector<Finding>& findings) {
    for (const Finding& finding : findings) {
        tell(finding);
    }
}

bool mayClose(int fd) {
    if (!isWatched()) {
        return true;
    }
    const CallStack stack = CallStack::here();
    std::vector<Finding> told;
    bool may = true;
    {
        const Hold hold;
        const Known* const owner = findOwn(state().borrowed, fd);
        const bool sweeps = continuesSweep(fd, stack);
        told = takePending(sweeps);
        noteSweep(fd, stack, sweeps, owner != nullptr);
        if (owner != nullptr) {
            may = false;
            putOff({"closed-borrowed",
                    "descriptor " + std::to_string(fd) + " was closed, which belongs to " +
                            owner->buffer,
                    stack, Earlier{"imported here", owner->stack}});
        }
    }
    tellAll(told);
    return may;
}

Finding doubleClose(int fd, const CallStack& stack, const CallStack& first) {
    return {"double-close", "descriptor " + std::to_string(fd) + " was closed twice", stack,
            Earlier{"closed here", first}};
}

// The library closes acquire fences, and so do some mappers: by contract both. What a program
// closes twice itself is its own affair, unless it was the platform's.
void judgeDoubleClose(Finding finding, bool wasFence) {
    const Owner first = ownerOf(resolve(finding.earlier->stack));
    const Owner second = ownerOf(resolve(finding.stack));
    if (first == Owner::Platform && second == Owner::Library) {
        finding.weight = Weight::ByContract;
    } else if (second == Owner::Platform ||
               (first == Owner::Program && second == Owner::Program && !wasFence)) {
        return;
    }
    const Hold hold;
    putOff(std::move(finding));
}

void closed(int fd, bool wasOpen) {
    if (!isWatched()) {
        return;
    }
    const CallStack stack = CallStack::here();
    std::optional<Finding> twice;
    bool wasFence = false;
    {
        const Hold hold;
        wasFence = state().fences.erase(fd) > 0;
        Closer* const closer = closerOf(fd);
        if (closer != nullptr && wasOpen) {
            *closer = {stack, wasFence};
        } else if (closer != nullptr && !closer->stack.frames().empty()) {
            twice = doubleClose(fd, stack, closer->stack);
            wasFence = closer->wasFence;
        }
    }
    if (twice) {
        judgeDoubleClose(std::move(*twice), wasFence);
    }
}

// Another number for a fence has to be closed as well. What a number was is gone once it is a copy
// of another.
void duplicated(int from, int to) {
    if (!isWatched()) {
        return;
    }
    const Hold hold;
    if (const Known* const fence = findOwn(state().fences, from)) {
        state().fences[to] = *fence;
    }
    state().borrowed.erase(to);
    forgetCloser(to);
}

void cleared(unsigned first, unsigned last) {
    if (!isWatched()) {
        return;
    }
    const Hold hold;
    const auto isCleared = [=](const auto& known) {
        return static_cast<unsigned>(known.first) >= first &&
               static_cast<unsigned>(known.first) <= last;
    };
    std::erase_if(state().fences, isCleared);
    std::erase_if(state().borrowed, isCleared);
    state().pending.clear();
}

constexpr DescriptorHooks kHooks = {mayClose, closed, duplicated, cleared};

// Numbers that a child closes are those of the child; what the parent closed stays closed.
void forgetInChild() {
    state().process = getpid();
    state().borrowed.clear();
    state().fences.clear();
    state().pending.clear();
    state().sweep = {};
    state().mutex.unlock();
}

}  // namespace

bool watchDescriptors() {
    pthread_atfork([] { state().mutex.lock(); }, [] { state().mutex.unlock(); }, forgetInChild);
    const auto watch = reinterpret_cast<decltype(&zelkcam_watchDescriptors)>(
            dlsym(RTLD_DEFAULT, kWatchDescriptors));
    if (watch == nullptr) {
        return false;
    }
    state().watching = true;
    watch(&kHooks);
    return true;
}

void addBorrowed(const native_handle_t& handle, const std::string& buffer, const CallStack& stack) {
    const Hold hold;
    for (int i = 0; i < handle.numFds; ++i) {
        const int fd = handle.data[i];
        state().borrowed[fd] = {buffer, stack, getpid(), fileOf(fd)};
        forgetCloser(fd);
    }
}

void removeBorrowed(const native_handle_t& handle, const CallStack& freed) {
    std::vector<Finding> lost;
    {
        const Hold hold;
        for (int i = 0; i < handle.numFds; ++i) {
            const int fd = handle.data[i];
            const Known* const known = findOwn(state().borrowed, fd);
            if (known != nullptr && !isStill(fd, *known)) {
                lost.push_back({"closed-borrowed",
                                "descriptor " + std::to_string(fd) + ", which belongs to " +
                                        known->buffer + ", was closed before the buffer was freed",
                                freed, Earlier{"imported here", known->stack}});
            }
            state().borrowed.erase(fd);
        }
    }
    tellAll(lost);
}

void addFence(int fd, const std::string& buffer, const CallStack& stack) {
    const Hold hold;
    if (fd >= 0 && state().watching) {
        state().fences[fd] = {buffer, stack, getpid(), fileOf(fd)};
        forgetCloser(fd);
    }
}

void tellPendingCloses() {
    std::vector<Finding> pending;
    {
        const Hold hold;
        pending = takePending(false);
    }
    tellAll(pending);
}

void tellLeakedFences() {
    std::map<int, Known> fences;
    {
        const Hold hold;
        fences.swap(state().fences);
    }
    for (const auto& [fd, fence] : fences) {
        if (fence.process != getpid() || !isStill(fd, fence)) {
            continue;
        }
        Finding finding{"leaked-fence",
                        "the release fence " + std::to_string(fd) + " of " + fence.buffer +
                                " was never closed",
                        fence.stack, std::nullopt};
        // The lock that gives planes drops the fence when the planes are not what it expects.
        finding.weight =
                isUnlockInsideLock(resolve(fence.stack)) ? Weight::ByContract : Weight::Finding;
        tell(finding);
    }
}

}  // namespace zelkcam::host::check
