// How a benchmark and its floor are registered: as a pair, so that both run in one program, in one
// run, under one build.
#pragma once

#include <string>

#include <benchmark/benchmark.h>

#include "bench/Allocations.h"

namespace zelkcam::bench {

// Repeats `operation`. Beside the time the result tells the allocations of one operation.
template <typename Operation>
void measure(benchmark::State& state, Operation&& operation) {
    const uint64_t before = allocationsSoFar();
    for (auto _ : state)
        operation();
    state.counters["allocations"] = benchmark::Counter(
            static_cast<double>(allocationsSoFar() - before), benchmark::Counter::kAvgIterations);
    state.SetItemsProcessed(state.iterations());
}

// `row` names the row of the table, and a variant of it behind a slash.
template <typename Ours, typename Floor, typename Adjust>
void compare(const std::string& row, Ours ours, Floor floor, Adjust adjust) {
    adjust(benchmark::RegisterBenchmark((row + "/ours").c_str(), ours));
    adjust(benchmark::RegisterBenchmark((row + "/floor").c_str(), floor));
}

template <typename Ours, typename Floor>
void compare(const std::string& row, Ours ours, Floor floor) {
    compare(row, ours, floor, [](benchmark::internal::Benchmark*) {});
}

// One for each source file of benchmarks.
void registerBufferOperations();
void registerCacheHits();
void registerCacheMisses();
void registerFirstCall();
void registerHdrMetadata();
void registerLogStatements();
void registerNames();

// Runs in a process of its own, for registerFirstCall: makes the call that `which` names ("ours" or
// "floor") and prints what it took, in nanoseconds of processor time. Returns the exit status.
int runFirstCall(const std::string& which);

}  // namespace zelkcam::bench
