// The first accessor call of a process, which finds the service and loads the mapper. Every sample
// is a process of its own: this program, started anew.
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

#include "bench/Compare.h"
#include "bench/Platform.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::bench {
namespace {

// Processor time: what else the machine does meanwhile is no part of the call.
int64_t now() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

bool callFirst(const std::string& which) {
    if (which == "ours")
        return NSCam::IGrallocHelper::singleton() != nullptr;
    const auto service = findAllocator();
    return service != nullptr && loadMapper(*service) != nullptr;
}

std::string ownPath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
    return length < 0 ? std::string() : std::string(path, static_cast<size_t>(length));
}

// Seconds that the call took in a new process; negative when that process failed.
double sample(const std::string& command) {
    FILE* const child = popen(command.c_str(), "r");
    if (child == nullptr)
        return -1;
    long nanoseconds = -1;
    if (fscanf(child, "%ld", &nanoseconds) != 1)
        nanoseconds = -1;
    return pclose(child) == 0 ? static_cast<double>(nanoseconds) * 1e-9 : -1;
}

auto sampler(const std::string& which) {
    // The device's linker resolves every symbol when it loads a library, never at the first call.
    return [command = "LD_BIND_NOW=1 '" + ownPath() +
                      "' --first-call=" + which](benchmark::State& state) {
        for (auto _ : state) {
            const double seconds = sample(command);
            if (seconds < 0)
                return state.SkipWithError("the started process fails");
            state.SetIterationTime(seconds);
        }
    };
}

}  // namespace

int runFirstCall(const std::string& which) {
    const int64_t start = now();
    const bool found = callFirst(which);
    printf("%ld\n", static_cast<long>(now() - start));
    return found ? 0 : 1;
}

void registerFirstCall() {
    compare("first_call", sampler("ours"), sampler("floor"),
            [](benchmark::internal::Benchmark* run) { run->UseManualTime()->Iterations(20); });
}

}  // namespace zelkcam::bench
