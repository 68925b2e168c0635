// What the facade and the mapper backend add to a CPU lock.
#include <unistd.h>

#include "bench/Compare.h"
#include "bench/Platform.h"
#include "platform/sync.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::bench {
namespace {

constexpr uint32_t kReadWriteOften = 0x33;
constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr ARect kWhole = {0, 0, kWidth, kHeight};

void facadeLock(benchmark::State& state) {
    const Buffer buffer(describe(HAL_PIXEL_FORMAT_BLOB, kWidth, kHeight, kReadWriteOften));
    auto* const helper = NSCam::IGrallocHelper::singleton();
    measure(state, [&] {
        void* data = nullptr;
        helper->lock(buffer.get(), kReadWriteOften, kWidth, kHeight, &data);
        helper->unlock(buffer.get());
    });
}

void directLock(benchmark::State& state) {
    const Buffer buffer(describe(HAL_PIXEL_FORMAT_BLOB, kWidth, kHeight, kReadWriteOften));
    measure(state, [&] {
        void* data = nullptr;
        mapper().lock(buffer.get(), kReadWriteOften, kWhole, -1, &data);
        flush();
        int fence = -1;
        mapper().unlock(buffer.get(), &fence);
        flush();
        sync_wait(fence, -1);
        close(fence);
    });
}

// Both sides unlock through the mapper, so that the next lock finds the buffer as this one did.
void unlockDirectly(const native_handle* handle) {
    int fence = -1;
    mapper().unlock(handle, &fence);
}

void backendYcbcrLock(benchmark::State& state, int32_t format) {
    const Buffer buffer(describe(format, kWidth, kHeight, kReadWriteOften));
    const NSCam::GrallocMapperAidlV2::MapperV5 backend(allocator());
    measure(state, [&] {
        android_ycbcr ycbcr;
        backend.lock(buffer.get(), kReadWriteOften, kWhole, -1, &ycbcr);
        benchmark::DoNotOptimize(ycbcr);
        unlockDirectly(buffer.get());
    });
}

void directYcbcrLock(benchmark::State& state, int32_t format) {
    const Buffer buffer(describe(format, kWidth, kHeight, kReadWriteOften));
    measure(state, [&] {
        benchmark::DoNotOptimize(readPlaneLayouts(buffer.get()));
        benchmark::DoNotOptimize(readPlaneLayouts(buffer.get()));
        void* data = nullptr;
        mapper().lock(buffer.get(), kReadWriteOften, kWhole, -1, &data);
        flush();
        unlockDirectly(buffer.get());
    });
}

void compareYcbcrLock(const std::string& name, int32_t format) {
    compare(
            "ycbcr_lock/" + name, [=](benchmark::State& state) { backendYcbcrLock(state, format); },
            [=](benchmark::State& state) { directYcbcrLock(state, format); });
}

}  // namespace

void registerBufferOperations() {
    compare("lock_unlock", facadeLock, directLock);
    // The layouts of the second do not fit the first 512 bytes.
    compareYcbcrLock("YCrCb_420_SP", HAL_PIXEL_FORMAT_YCRCB_420_SP);
    compareYcbcrLock("YV12", HAL_PIXEL_FORMAT_YV12);
}

}  // namespace zelkcam::bench
