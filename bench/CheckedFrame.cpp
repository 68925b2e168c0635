// What the checker of buffers costs: a frame is locked, written and unlocked with it and without.
// Whether a process is checked is decided as it starts, so every sample is a process of its own.
// And what the place for it costs a process that is not checked.
#include <cstdio>
#include <cstring>

#include "bench/Compare.h"
#include "bench/Platform.h"
#include "host/gralloc/Gralloc.h"
#include "host/gralloc/Imports.h"

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

// As the mappers reach the host's buffers: where a checker would be.
void lockWhereACheckerMayBe(const native_handle* frame, void** data) {
    host::gralloc::gralloc().lock(frame, kReadWriteOften, {0, 0, kWidth, kHeight}, -1, data);
}

void unlockWhereACheckerMayBe(const native_handle* frame) {
    host::gralloc::ScopedFileDescriptor fence;
    host::gralloc::gralloc().unlock(frame, &fence);
}

// The same buffers, where there is no place for one.
void lockPlainly(const native_handle* frame, void** data) {
    host::gralloc::Imports::ofProcess().find(frame)->lock(kReadWriteOften, {0, 0, kWidth, kHeight},
                                                          -1, data);
}

void unlockPlainly(const native_handle* frame) {
    host::gralloc::ScopedFileDescriptor fence;
    host::gralloc::Imports::ofProcess().find(frame)->unlock(&fence);
}

template <auto kLock, auto kUnlock>
auto unchecked(size_t bytes) {
    return [bytes](auto&& measure) {
        const Buffer frame(
                describe(HAL_PIXEL_FORMAT_YCRCB_420_SP, kWidth, kHeight, kReadWriteOften));
        measure([&] {
            void* data = nullptr;
            kLock(frame.get(), &data);
            memset(data, 16, bytes);
            benchmark::ClobberMemory();
            kUnlock(frame.get());
        });
    };
}

void compareUnchecked(const char* row, size_t bytes) {
    compare(row, unchecked<lockWhereACheckerMayBe, unlockWhereACheckerMayBe>(bytes),
            unchecked<lockPlainly, unlockPlainly>(bytes));
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
    compareUnchecked("unchecked_frame", kBytes);
    compareUnchecked("unchecked_lock", 0);
}

}  // namespace zelkcam::bench
