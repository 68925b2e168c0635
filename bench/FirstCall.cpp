// The first accessor call of a process, which finds the service and loads the mapper. Every sample
// is a process of its own: this program, started again.
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <string>

#include "bench/Compare.h"
#include "bench/Platform.h"
#include "platform/properties.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::bench {
namespace {

bool callFirst(const std::string& which) {
    if (which == "ours") {
        return NSCam::IGrallocHelper::singleton() != nullptr;
    }
    const auto service = findAllocator();
    const bool found = service != nullptr && loadMapper(*service) != nullptr;
    // The helper asks for two levels, its mapper for one of them again.
    if (which == "floor_and_properties") {
        for (const char* const name :
             {"vendor.debug.camera.log", "debug.zelkcam.utils.gralloc.loglevel",
              "debug.zelkcam.utils.gralloc.loglevel"}) {
            benchmark::DoNotOptimize(property_get_int32(name, 0));
        }
    }
    return found;
}

std::string ownPath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
    return length < 0 ? std::string() : std::string(path, static_cast<size_t>(length));
}

// The device's linker resolves every symbol when it loads a library, never at the first call.
void sample(Cost& cost, const std::string& which) {
    sampleInNewProcess(cost, "LD_BIND_NOW=1", "--first-call=" + which);
}

void compareFirstCalls(benchmark::State& state, const std::string& against) {
    Cost ours, floor;
    for (auto _ : state) {
        sample(ours, "ours");
        sample(floor, against);
        state.SetIterationTime(1e-3);
    }
    report(state, ours, floor);
}

}  // namespace

void sampleInNewProcess(Cost& cost, const std::string& environment, const std::string& argument) {
    const std::string command = environment + " '" + ownPath() + "' " + argument;
    FILE* const child = popen(command.c_str(), "r");
    if (child == nullptr) {
        giveUp("no process can be started");
    }
    long nanoseconds = 0;
    const bool complete = fscanf(child, "%ld", &nanoseconds) == 1;
    if (pclose(child) != 0 || !complete) {
        giveUp("a process that was to measure fails");
    }
    cost.nanoseconds += nanoseconds;
    ++cost.operations;
}

int runFirstCall(const std::string& which) {
    const int64_t start = threadTime();
    const bool found = callFirst(which);
    printf("%ld\n", static_cast<long>(threadTime() - start));
    return found ? 0 : 1;
}

void registerFirstCall() {
    for (const auto& [row, against] :
         {std::pair("first_call", "floor"),
          std::pair("first_call_properties", "floor_and_properties")}) {
        benchmark::RegisterBenchmark(row, compareFirstCalls, against)
                ->UseManualTime()
                ->Iterations(20);
    }
}

}  // namespace zelkcam::bench
