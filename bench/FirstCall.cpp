// The first accessor call of a process, which finds the service and loads the mapper. Every sample
// is a process of its own: this program, started anew.
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <optional>

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

// Pages of code and data that were touched for the first time.
long pageFaults() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
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

struct Sample {
    long nanoseconds = 0;
    long pageFaults = 0;
};

// What the call took in a new process; no value when that process failed.
std::optional<Sample> sample(const std::string& command) {
    FILE* const child = popen(command.c_str(), "r");
    if (child == nullptr)
        return std::nullopt;
    Sample taken;
    const bool complete = fscanf(child, "%ld %ld", &taken.nanoseconds, &taken.pageFaults) == 2;
    return pclose(child) == 0 && complete ? std::optional(taken) : std::nullopt;
}

auto sampler(const std::string& which) {
    // The device's linker resolves every symbol when it loads a library, never at the first call.
    return [command = "LD_BIND_NOW=1 '" + ownPath() +
                      "' --first-call=" + which](benchmark::State& state) {
        double faults = 0;
        for (auto _ : state) {
            const auto taken = sample(command);
            if (!taken)
                return state.SkipWithError("the started process fails");
            state.SetIterationTime(static_cast<double>(taken->nanoseconds) * 1e-9);
            faults += static_cast<double>(taken->pageFaults);
        }
        state.counters["page_faults"] =
                benchmark::Counter(faults, benchmark::Counter::kAvgIterations);
    };
}

}  // namespace

int runFirstCall(const std::string& which) {
    const long faultsBefore = pageFaults();
    const int64_t start = now();
    const bool found = callFirst(which);
    const auto nanoseconds = static_cast<long>(now() - start);
    printf("%ld %ld\n", nanoseconds, pageFaults() - faultsBefore);
    return found ? 0 : 1;
}

void registerFirstCall() {
    compare("first_call", sampler("ours"), sampler("floor"),
            [](benchmark::internal::Benchmark* run) { run->UseManualTime()->Iterations(20); });
}

}  // namespace zelkcam::bench
