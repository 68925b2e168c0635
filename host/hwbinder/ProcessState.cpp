#include <atomic>
#include <mutex>

#include <hidl/HidlInternal.h>
#include <hwbinder/ProcessState.h>

namespace android::hardware {

struct ProcessStateOwner {
    static sp<ProcessState> get(size_t mmapSize, bool mayMake) {
        // Never destroyed: exit handlers may still ask.
        static auto& state = *new sp<ProcessState>;
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        if (state == nullptr && mayMake) {
            state = new ProcessState(mmapSize);
        }
        return state;
    }
};

namespace {

constexpr size_t kDefaultMmapSize = 1024 * 1024 - 2 * 4096;
std::atomic<size_t> gMaxThreads{0};

}  // namespace

sp<ProcessState> ProcessState::self() {
    return initWithMmapSize(kDefaultMmapSize);
}

sp<ProcessState> ProcessState::selfOrNull() {
    return ProcessStateOwner::get(0, false);
}

sp<ProcessState> ProcessState::initWithMmapSize(size_t mmapSize) {
    return ProcessStateOwner::get(mmapSize, true);
}

status_t ProcessState::setThreadPoolConfiguration(size_t maxThreads, bool callerJoinsPool) {
    if (maxThreads == 0 && callerJoinsPool) {
        details::logAlwaysFatal("a thread pool that the caller joins has at least one thread");
    }
    gMaxThreads = maxThreads;
    return NO_ERROR;
}

size_t ProcessState::getMaxThreads() {
    return gMaxThreads;
}

}  // namespace android::hardware
