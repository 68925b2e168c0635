// How an operation is compared with its floor: in turns, slice by slice, so that whatever else the
// machine does affects both sides alike.
#pragma once

#include <time.h>

#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "bench/Allocations.h"

namespace zelkcam::bench {

// Nanoseconds of processor time of the calling thread: other work on the machine is no part of it.
inline int64_t threadTime() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// What one side of a pair has cost so far.
struct Cost {
    int64_t nanoseconds = 0;
    int64_t operations = 0;
    uint64_t allocations = 0;
};

// Repeats `operation` and adds what that cost.
template <typename Operation>
void slice(Cost& cost, Operation& operation, int64_t times) {
    const uint64_t allocations = allocationsSoFar();
    const int64_t start = threadTime();
    for (int64_t i = 0; i < times; ++i) {
        operation();
    }
    cost.nanoseconds += threadTime() - start;
    cost.operations += times;
    cost.allocations += allocationsSoFar() - allocations;
}

// How often to repeat `operation` for a slice that is long against the clock's own price and short
// against what disturbs the machine.
template <typename Operation>
int64_t timesPerSlice(Operation& operation) {
    constexpr int64_t kSliceNanoseconds = 500'000;
    int64_t times = 1;
    for (Cost cost; cost.nanoseconds < kSliceNanoseconds; times *= 2) {
        cost = {};
        slice(cost, operation, times);
    }
    return times / 2;
}

// Puts both sides of a pair into the result.
inline void report(benchmark::State& state, const Cost& ours, const Cost& floor) {
    const auto add = [&](const std::string& side, const Cost& cost) {
        const auto operations = static_cast<double>(cost.operations);
        state.counters[side] = static_cast<double>(cost.nanoseconds) / operations;
        state.counters[side + "_allocations"] = static_cast<double>(cost.allocations) / operations;
    };
    add("ours", ours);
    add("floor", floor);
}

template <typename Ours, typename Floor>
void takeTurns(benchmark::State& state, Ours& ours, Floor& floor) {
    const int64_t oursTimes = timesPerSlice(ours);
    const int64_t floorTimes = timesPerSlice(floor);
    Cost oursCost, floorCost;
    bool oursFirst = true;
    for (auto _ : state) {
        const int64_t before = oursCost.nanoseconds + floorCost.nanoseconds;
        if (oursFirst) {
            slice(oursCost, ours, oursTimes);
        }
        slice(floorCost, floor, floorTimes);
        if (!oursFirst) {
            slice(oursCost, ours, oursTimes);
        }
        oursFirst = !oursFirst;
        const int64_t taken = oursCost.nanoseconds + floorCost.nanoseconds - before;
        state.SetIterationTime(static_cast<double>(taken) * 1e-9);
    }
    report(state, oursCost, floorCost);
}

// Registers a pair. Each side is a function that makes ready what its operation needs and hands the
// operation to the callable that it is given. `row` names the row of the table, and a variant of it
// behind a slash.
template <typename Ours, typename Floor>
void compare(const std::string& row, Ours ours, Floor floor) {
    const auto run = [=](benchmark::State& state) {
        ours([&](auto&& operation) {
            floor([&](auto&& least) { takeTurns(state, operation, least); });
        });
    };
    benchmark::RegisterBenchmark(row.c_str(), run)->UseManualTime();
}

// Ends the program: a figure of an operation that fails would be a figure of nothing.
[[noreturn]] void giveUp(const char* reason);

// One for each source file of benchmarks.
void registerBufferOperations();
void registerCacheHits();
void registerCacheMisses();
void registerCheckedFrame();
void registerProfileLoad();
void registerFirstCall();
void registerHdrMetadata();
void registerLogStatements();
void registerNames();

// Adds what a new process of this program measures, which it prints in nanoseconds, when it is
// started with `argument` and with NAME=VALUE words in its environment.
void sampleInNewProcess(Cost& cost, const std::string& environment, const std::string& argument);

// Runs in a process of its own, for registerCheckedFrame: writes frames and prints what one took.
inline constexpr char kCheckedFrame[] = "--checked-frame";
int runCheckedFrame();

// Runs in a process of its own, for registerFirstCall: makes the call that `which` names ("ours" or
// a floor) and prints what it took, in nanoseconds of processor time. Returns the exit status.
int runFirstCall(const std::string& which);

}  // namespace zelkcam::bench
