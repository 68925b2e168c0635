// What the checker of buffers costs: a frame is locked, written and unlocked with it and without.
// Whether a process is checked is decided as it starts, so every sample is a process of its own.
#include <cstdio>
#include <cstring>

#include "bench/Compare.h"
#include "bench/Platform.h"

namespace zelkcam::bench {
namespace {

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;
constexpr size_t kBytes = size_t{kWidth} * kHeight * 3 / 2;
constexpr uint64_t kReadWriteOften = 0x33;

void writeFrame(const native_handle* frame, int value) {
    void* data = nullptr;
    if (mapper().lock(frame, kReadWriteOften, {0, 0, kWidth, kHeight}, -1, &data) !=
        AIMAPPER_ERROR_NONE) {
        giveUp("a frame cannot be locked");
    }
    memset(data, value, kBytes);
    int fence = -1;
    mapper().unlock(frame, &fence);
}

void compareFrames(benchmark::State& state) {
    Cost ours, floor;
    for (auto _ : state) {
        sampleInNewProcess(ours, "ZELKCAM_HOST_CHECK=1", kCheckedFrame);
        sampleInNewProcess(floor, "ZELKCAM_HOST_CHECK=0", kCheckedFrame);
        state.SetIterationTime(1e-3);
    }
    report(state, ours, floor);
}

}  // namespace

int runCheckedFrame() {
    constexpr int kFrames = 50;
    const Buffer frame(describe(HAL_PIXEL_FORMAT_YCRCB_420_SP, kWidth, kHeight, kReadWriteOften));
    writeFrame(frame.get(), 0);
    const int64_t start = threadTime();
    for (int i = 0; i < kFrames; ++i) {
        writeFrame(frame.get(), i);
    }
    printf("%ld\n", static_cast<long>((threadTime() - start) / kFrames));
    return 0;
}

void registerCheckedFrame() {
    benchmark::RegisterBenchmark("checked_frame", compareFrames)->UseManualTime()->Iterations(5);
}

}  // namespace zelkcam::bench
