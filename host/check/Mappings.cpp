#include "host/check/Mappings.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "host/check/Findings.h"
#include "host/gralloc/SharedMemory.h"

namespace zelkcam::host::check {
namespace {

using gralloc::roundToPages;

// Room for the typical overrun: some rows.
constexpr uint64_t kGuardSize = 1 << 20;
// Retired mappings take no memory, but each is an entry of the kernel's list, which holds 65,530.
constexpr size_t kRetiredCount = 1024;

struct Registry {
    std::mutex mutex;
    std::map<std::byte*, GuardedMapping*> byAddress;  // by the begin of what is reserved
    std::deque<std::shared_ptr<GuardedMapping>> retired;
};

// Between these lies whatever was ever mapped here: for a signal handler, which takes no lock.
std::atomic<std::byte*> gLowest{nullptr};
std::atomic<std::byte*> gHighest{nullptr};

// The caller holds the registry's mutex.
void widenBounds(std::byte* begin, std::byte* end) {
    if (gLowest == nullptr || begin < gLowest) {
        gLowest = begin;
    }
    if (end > gHighest) {
        gHighest = end;
    }
}

// Never destroyed: there are faults until the very end.
Registry& registry() {
    static auto& registry = *new Registry;
    return registry;
}

__attribute__((constructor)) void keepRegistryAcrossForks() {
    pthread_atfork([] { registry().mutex.lock(); }, [] { registry().mutex.unlock(); },
                   [] { registry().mutex.unlock(); });
}

std::byte* reserve(uint64_t size) {
    void* const address =
            mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return address != MAP_FAILED ? static_cast<std::byte*>(address) : nullptr;
}

// Filled at once: page by page it would take several times as long.
bool mapOver(std::byte* data, uint64_t size, int access, int fd) {
    return mmap(data, size, access, MAP_SHARED | MAP_FIXED | MAP_POPULATE, fd, 0) != MAP_FAILED;
}

}  // namespace

void ParkedPages::take(std::byte* from, uint64_t size) {
    const std::lock_guard guard(registry().mutex);
    if (mAddress != nullptr) {
        return;
    }
    void* const parked = mremap(from, size, size, MREMAP_MAYMOVE | MREMAP_DONTUNMAP);
    if (parked != MAP_FAILED) {
        mAddress = static_cast<std::byte*>(parked);
        mSize = size;
    }
}

bool ParkedPages::moveTo(std::byte* to, uint64_t size, int access) {
    const std::lock_guard guard(registry().mutex);
    if (mAddress == nullptr || mSize != size ||
        mremap(mAddress, size, size, MREMAP_MAYMOVE | MREMAP_FIXED, to) == MAP_FAILED) {
        return false;
    }
    mAddress = nullptr;
    return mprotect(to, size, access) == 0;
}

void ParkedPages::drop() {
    const std::lock_guard guard(registry().mutex);
    if (mAddress != nullptr) {
        munmap(mAddress, mSize);
        mAddress = nullptr;
    }
}

std::shared_ptr<GuardedMapping> GuardedMapping::map(int fd, uint64_t size, bool writable,
                                                    std::string buffer, const CallStack& locked,
                                                    ParkedPages* pages) {
    std::shared_ptr<GuardedMapping> mapping(new GuardedMapping);
    mapping->mWritable = writable;
    mapping->mSize = size;
    mapping->mReservedSize = roundToPages(size) + 2 * kGuardSize;
    mapping->mBuffer = std::move(buffer);
    mapping->mLocked = locked;
    mapping->mReserved = reserve(mapping->mReservedSize);
    if (mapping->mReserved == nullptr) {
        return nullptr;
    }
    std::byte* const data = mapping->mReserved + kGuardSize;
    const uint64_t mapped = roundToPages(size);
    const int access = writable ? PROT_READ | PROT_WRITE : PROT_READ;
    if (!pages->moveTo(data, mapped, access) && !mapOver(data, mapped, access, fd)) {
        return nullptr;
    }
    mapping->mData = data;
    const std::lock_guard guard(registry().mutex);
    registry().byAddress[mapping->mReserved] = mapping.get();
    widenBounds(mapping->mReserved, mapping->mReserved + mapping->mReservedSize);
    return mapping;
}

GuardedMapping::~GuardedMapping() {
    if (mReserved != nullptr) {
        munmap(mReserved, mReservedSize);
    }
}

void GuardedMapping::retire(std::shared_ptr<GuardedMapping> mapping, const char* what,
                            const CallStack& stack, ParkedPages* pages) {
    if (pages != nullptr) {
        pages->take(mapping->mData, roundToPages(mapping->mSize));
    }
    std::shared_ptr<GuardedMapping> oldest;  // goes after the guard, with its system call
    const std::lock_guard guard(registry().mutex);
    if (mmap(mapping->mReserved, mapping->mReservedSize, PROT_NONE,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED, -1, 0) == MAP_FAILED) {
        // The buffer's pages stay with the process, but out of its reach all the same.
        mprotect(mapping->mReserved, mapping->mReservedSize, PROT_NONE);
    }
    mapping->mRetired = true;
    mapping->mRetiredWhat = what;
    mapping->mRetiredStack = stack;
    registry().retired.push_back(std::move(mapping));
    if (registry().retired.size() > kRetiredCount) {
        oldest = std::move(registry().retired.front());
        registry().retired.pop_front();
        registry().byAddress.erase(oldest->mReserved);
    }
}

// Answers what a fault at an address means.
struct FaultFinder {
    static std::optional<Finding> find(std::byte* address, const CallStack& stack) {
        const std::lock_guard guard(registry().mutex);
        const auto after = registry().byAddress.upper_bound(address);
        if (after == registry().byAddress.begin()) {
            return std::nullopt;
        }
        const GuardedMapping& mapping = *std::prev(after)->second;
        if (address >= mapping.mReserved + mapping.mReservedSize) {
            return std::nullopt;
        }
        return describe(mapping, address, stack);
    }

    static Finding describe(const GuardedMapping& mapping, std::byte* address,
                            const CallStack& stack) {
        const int64_t offset = address - mapping.mData;
        const auto size = static_cast<int64_t>(mapping.mSize);
        const std::string& buffer = mapping.mBuffer;
        if (mapping.mRetired) {
            return {"access-after-unlock",
                    "byte " + std::to_string(offset) + " of " + buffer +
                            " was touched although it is no longer locked",
                    stack, Earlier{mapping.mRetiredWhat, mapping.mRetiredStack}};
        }
        const Earlier locked{"locked here", mapping.mLocked};
        if (offset < 0) {
            return {"out-of-bounds",
                    "byte " + std::to_string(offset) + " of " + buffer +
                            " was touched, which is before its first",
                    stack, locked};
        }
        if (offset >= size) {
            return {"out-of-bounds",
                    "byte " + std::to_string(offset) + " of " + buffer +
                            " was touched, which is behind its last",
                    stack, locked};
        }
        return {"write-through-read-lock",
                "byte " + std::to_string(offset) + " of " + buffer +
                        " was written, but the lock is for reading",
                stack, locked};
    }
};

namespace {

// What handled a signal before us, the latest last: each may hand a fault on to the one before it,
// which is us.
struct Handlers {
    static constexpr size_t kMost = 8;
    struct sigaction kept[kMost];
    std::atomic<size_t> count{0};

    void keep(const struct sigaction& action) {
        const size_t now = count;
        const bool isKnown = now > 0 && kept[now - 1].sa_sigaction == action.sa_sigaction;
        const size_t place = isKnown || now == kMost ? now - 1 : now;
        kept[place] = action;
        count = place + 1;
    }
};

Handlers& before(int signal) {
    static Handlers handlers[2];
    return handlers[signal == SIGBUS ? 1 : 0];
}

// The fault that this thread is at, and how many of the handlers have had it.
struct Handling {
    void* context = nullptr;
    char* frame = nullptr;
    size_t passed = 0;
};
thread_local Handling tlsHandling __attribute__((tls_model("initial-exec")));

void* programCounter(const ucontext_t& context) {
#if defined(__x86_64__)
    // NOLINTNEXTLINE(performance-no-int-to-ptr): registers are integers
    return reinterpret_cast<void*>(context.uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return reinterpret_cast<void*>(context.uc_mcontext.pc);
#endif
}

// As the kernel would have called it.
void callBefore(int signal, siginfo_t* info, void* context, size_t passed) {
    const Handlers& handlers = before(signal);
    const size_t left = handlers.count;
    struct sigaction action = {};
    if (passed < left) {
        action = handlers.kept[left - 1 - passed];
    }
    if ((action.sa_flags & SA_SIGINFO) != 0) {
        action.sa_sigaction(signal, info, context);
    } else if (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN) {
        action.sa_handler(signal);
    } else {
        // Nobody handles it: the instruction runs into it again, and the process ends.
        struct sigaction standard = {};
        standard.sa_handler = SIG_DFL;
        sigaction(signal, &standard, nullptr);
    }
}

struct Fault {
    std::byte* address;
    CallStack stack;
};

// On a thread of its own: a signal handler must not ask for memory.
void* tellFault(void* argument) {
    const Fault& fault = *static_cast<const Fault*>(argument);
    if (const auto finding = FaultFinder::find(fault.address, fault.stack)) {
        tell(*finding);
    }
    return nullptr;
}

void tellIfOurs(const siginfo_t& info, const ucontext_t& context) {
    auto* const address = static_cast<std::byte*>(info.si_addr);
    // Otherwise sent by a process, not by an access.
    if (info.si_code <= 0 || address < gLowest || address >= gHighest) {
        return;
    }
    Fault fault{address, CallStack::ofSignal(programCounter(context))};
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, tellFault, &fault) == 0) {
        pthread_join(thread, nullptr);
    }
}

// A handler that hands the fault on calls this from further down the stack. One that leaves by
// longjmp does not come back here.
void onFault(int signal, siginfo_t* info, void* context) {
    auto* const frame = static_cast<char*>(__builtin_frame_address(0));
    const bool isHandedOn =
            frame < tlsHandling.frame && (context == tlsHandling.context || context == nullptr);
    if (isHandedOn) {
        ++tlsHandling.passed;
    } else {
        tlsHandling = {context, frame, 0};
        tellIfOurs(*info, *static_cast<ucontext_t*>(context));
    }
    callBefore(signal, info, context, tlsHandling.passed);
    if (!isHandedOn) {
        tlsHandling = {};
    }
}

}  // namespace

void watchFaults() {
    const std::lock_guard guard(registry().mutex);
    for (const int signal : {SIGSEGV, SIGBUS}) {
        struct sigaction now = {};
        sigaction(signal, nullptr, &now);
        if ((now.sa_flags & SA_SIGINFO) != 0 && now.sa_sigaction == onFault) {
            continue;
        }
        before(signal).keep(now);
        struct sigaction ours = {};
        ours.sa_sigaction = onFault;
        // The program may have a stack of its own for faults, and expect to find it in use.
        ours.sa_flags = SA_SIGINFO | SA_ONSTACK | (now.sa_flags & (SA_NODEFER | SA_RESTART));
        ours.sa_mask = now.sa_mask;
        sigaction(signal, &ours, nullptr);
    }
}

}  // namespace zelkcam::host::check
