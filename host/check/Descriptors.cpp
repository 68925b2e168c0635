#include "host/check/Descriptors.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

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

// So many neighbours are closed by nobody who knows what they are.
constexpr int kSweepLength = 8;

struct Known {
    std::string buffer;
    CallStack stack;
    pid_t process;
};

// One descriptor after the other is closed, upwards or downwards.
struct Sweep {
    pthread_t thread{};
    int last = -1;
    int length = 0;
};

struct State {
    std::mutex mutex;
    bool watching = false;
    std::map<int, Known> borrowed;
    std::map<int, Known> fences;
    std::map<int, CallStack> closed;  // who closed a number last
    Sweep sweep;
    std::vector<Finding> pending;
};

State& state() {
    static auto& state = *new State;
    return state;
}

// A signal handler may close a descriptor while this thread is in here.
thread_local bool tlsBusy = false;

class Hold {
  public:
    Hold() : mGuard(state().mutex) { tlsBusy = true; }
    ~Hold() { tlsBusy = false; }

  private:
    std::lock_guard<std::mutex> mGuard;
};

const Known* findOwn(const std::map<int, Known>& known, int fd) {
    const auto found = known.find(fd);
    return found != known.end() && found->second.process == getpid() ? &found->second : nullptr;
}

void noteSweep(int fd) {
    Sweep& sweep = state().sweep;
    const bool continues = sweep.length > 0 && pthread_equal(sweep.thread, pthread_self()) != 0 &&
                           (fd == sweep.last + 1 || fd == sweep.last - 1);
    sweep = {pthread_self(), fd, continues ? sweep.length + 1 : 1};
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

bool continuesSweep(int fd) {
    const Sweep& sweep = state().sweep;
    return sweep.length > 0 && (fd == sweep.last + 1 || fd == sweep.last - 1);
}

void tellAll(const std::vector<Finding>& findings) {
    for (const Finding& finding : findings) {
        tell(finding);
    }
}

bool mayClose(int fd) {
    if (tlsBusy || isTelling()) {
        return true;
    }
    const CallStack stack = CallStack::here();
    std::vector<Finding> told;
    bool may = true;
    {
        const Hold hold;
        told = takePending(continuesSweep(fd));
        noteSweep(fd);
        if (const Known* const owner = findOwn(state().borrowed, fd)) {
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

// The library closes acquire fences, and so do some mappers: by contract both.
Finding doubleClose(int fd, const CallStack& stack, const CallStack& first) {
    return {"double-close", "descriptor " + std::to_string(fd) + " was closed twice", stack,
            Earlier{"closed here", first}};
}

void judgeDoubleClose(Finding finding) {
    const Owner first = ownerOf(resolve(finding.earlier->stack));
    const Owner second = ownerOf(resolve(finding.stack));
    if (first == Owner::Platform && second == Owner::Library) {
        finding.weight = Weight::ByContract;
    } else if (second == Owner::Platform || (first == Owner::Program && second == Owner::Program)) {
        return;
    }
    const Hold hold;
    putOff(std::move(finding));
}

void closed(int fd, bool wasOpen) {
    if (tlsBusy || isTelling()) {
        return;
    }
    const CallStack stack = CallStack::here();
    std::optional<Finding> twice;
    {
        const Hold hold;
        state().fences.erase(fd);
        const auto before = state().closed.find(fd);
        if (wasOpen) {
            state().closed[fd] = stack;
        } else if (before != state().closed.end()) {
            twice = doubleClose(fd, stack, before->second);
        }
    }
    if (twice) {
        judgeDoubleClose(std::move(*twice));
    }
}

// Another number for a fence has to be closed as well.
void duplicated(int from, int to) {
    if (tlsBusy || isTelling()) {
        return;
    }
    const Hold hold;
    if (const Known* const fence = findOwn(state().fences, from)) {
        state().fences[to] = *fence;
    }
    state().closed.erase(to);
}

constexpr DescriptorHooks kHooks = {mayClose, closed, duplicated};

// Numbers that a child closes are those of the child; what the parent closed stays closed.
void forgetInChild() {
    state().borrowed.clear();
    state().fences.clear();
    state().pending.clear();
    state().sweep = {};
    state().mutex.unlock();
}

}  // namespace

bool watchDescriptors() {
    const auto watch = reinterpret_cast<decltype(&zelkcam_watchDescriptors)>(
            dlsym(RTLD_DEFAULT, kWatchDescriptors));
    if (watch == nullptr) {
        return false;
    }
    state().watching = true;
    pthread_atfork([] { state().mutex.lock(); }, [] { state().mutex.unlock(); }, forgetInChild);
    watch(&kHooks);
    return true;
}

void addBorrowed(const native_handle_t& handle, const std::string& buffer, const CallStack& stack) {
    const Hold hold;
    for (int i = 0; state().watching && i < handle.numFds; ++i) {
        state().borrowed[handle.data[i]] = {buffer, stack, getpid()};
        state().closed.erase(handle.data[i]);
    }
}

void removeBorrowed(const native_handle_t& handle) {
    const Hold hold;
    for (int i = 0; i < handle.numFds; ++i) {
        state().borrowed.erase(handle.data[i]);
    }
}

void addFence(int fd, const std::string& buffer, const CallStack& stack) {
    const Hold hold;
    if (fd >= 0 && state().watching) {
        state().fences[fd] = {buffer, stack, getpid()};
        state().closed.erase(fd);
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
        if (fence.process != getpid() || fcntl(fd, F_GETFD) < 0) {
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
