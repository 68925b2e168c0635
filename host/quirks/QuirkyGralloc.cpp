// The host's buffers with faults on demand in front. In a process whose environment asks for none,
// nothing of it is ever called.
#include <dlfcn.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "host/gralloc/Gralloc.h"
#include "host/properties/Environment.h"
#include "host/quirks/Quirks.h"

namespace zelkcam::host::quirks {
namespace {

using gralloc::Gralloc;
using gralloc::ScopedFileDescriptor;

constexpr char kQuirksVariable[] = "ZELKCAM_HOST_QUIRKS";
// Defined by the library that fails in the extension's place.
constexpr char kFailingExtension[] = "zelkcam_failingExtension";

// Counts the calls of one kind.
class Counted {
  public:
    explicit Counted(const Refusal& refusal) : mRefusal(refusal) {}

    // NONE when this call is to work.
    AIMapper_Error next() {
        return ++mCalls == mRefusal.call ? mRefusal.error : AIMAPPER_ERROR_NONE;
    }
    uint64_t calls() const { return mCalls; }

  private:
    const Refusal mRefusal;
    std::atomic<uint64_t> mCalls{0};
};

// Readable, as a signalled fence is, when the time is over. Empty when the process is out of
// descriptors.
ScopedFileDescriptor fenceIn(std::chrono::milliseconds time) {
    ScopedFileDescriptor fence(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    itimerspec timer{};
    timer.it_value.tv_sec = time.count() / 1000;
    // A timer of no time at all never ends.
    timer.it_value.tv_nsec = time.count() % 1000 * 1'000'000 + (time.count() == 0 ? 1 : 0);
    timerfd_settime(fence.get(), 0, &timer, nullptr);
    return fence;
}

class QuirkyGralloc : public Gralloc {
  public:
    QuirkyGralloc(Gralloc& next, const Quirks& quirks)
        : mNext(next),
          mQuirks(quirks),
          mAllocations(quirks.allocation),
          mImports(quirks.import),
          mLocks(quirks.lock) {}

    AIMapper_Error allocate(const gralloc::AllocationRequest& request,
                            gralloc::Allocation* out) override {
        const AIMapper_Error error = mAllocations.next();
        std::this_thread::sleep_for(mQuirks.allocationTime);
        if (mQuirks.goneFrom > 0 && mAllocations.calls() >= mQuirks.goneFrom) {
            return gralloc::kServiceGone;
        }
        return error != AIMAPPER_ERROR_NONE ? error : mNext.allocate(request, out);
    }

    AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* outHandle) override {
        const AIMapper_Error error = mImports.next();
        return error != AIMAPPER_ERROR_NONE ? error : mNext.importBuffer(raw, outHandle);
    }

    AIMapper_Error freeBuffer(buffer_handle_t handle) override { return mNext.freeBuffer(handle); }

    AIMapper_Error lock(buffer_handle_t handle, uint64_t cpuUsage, const gralloc::Region& region,
                        int acquireFence, void** outData) override {
        const AIMapper_Error error = mLocks.next();
        return error != AIMAPPER_ERROR_NONE
                       ? error
                       : mNext.lock(handle, cpuUsage, region, acquireFence, outData);
    }

    AIMapper_Error unlock(buffer_handle_t handle, ScopedFileDescriptor* releaseFence) override {
        const AIMapper_Error error = mNext.unlock(handle, releaseFence);
        if (error == AIMAPPER_ERROR_NONE && mQuirks.fenceTime) {
            *releaseFence = fenceIn(*mQuirks.fenceTime);
        }
        return error;
    }

    // A value that has grown whenever there is room for what it was.
    int32_t getMetadata(buffer_handle_t handle, std::string_view typeName, int64_t type,
                        void* destination, size_t size) override {
        constexpr int32_t kGrowth = 8;
        const int32_t answer = mNext.getMetadata(handle, typeName, type, destination, size);
        const bool fits = answer > 0 && static_cast<size_t>(answer) <= size;
        return mQuirks.growingMetadata && fits ? static_cast<int32_t>(size) + kGrowth : answer;
    }

    std::shared_ptr<gralloc::ImportedBuffer> find(buffer_handle_t handle) override {
        return mNext.find(handle);
    }

  private:
    Gralloc& mNext;
    const Quirks mQuirks;
    Counted mAllocations;
    Counted mImports;
    Counted mLocks;
};

// Whoever asks for faults must not believe that there were some.
Quirks quirksOf(const char* text) {
    std::string problem;
    const auto quirks = parseQuirks(text, &problem);
    if (quirks && quirks->extensionFails && dlsym(RTLD_DEFAULT, kFailingExtension) == nullptr) {
        problem = "failing-extension needs LD_PRELOAD=libzelkcam_quirk_extension.so";
    }
    if (!problem.empty()) {
        reportVariable(kQuirksVariable, text, problem.c_str());
        _exit(2);
    }
    return *quirks;
}

// Before the checker, which looks at what the platform answers, faults included.
__attribute__((constructor(201))) void addQuirks() {
    const char* const text = std::getenv(kQuirksVariable);
    if (text != nullptr && *text != '\0') {
        // Never destroyed: clients free buffers in their own exit destructors.
        decorateGralloc(*new QuirkyGralloc(gralloc::gralloc(), quirksOf(text)));
    }
}

}  // namespace
}  // namespace zelkcam::host::quirks
