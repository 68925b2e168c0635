// What the helper and MapperV5 add to a CPU lock.
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

Buffer lockable(int32_t format) {
    return Buffer(describe(format, kWidth, kHeight, kReadWriteOften));
}

void helperLock(auto&& measure) {
    const Buffer buffer = lockable(HAL_PIXEL_FORMAT_BLOB);
    auto* const helper = NSCam::IGrallocHelper::singleton();
    measure([&] {
        void* data = nullptr;
        helper->lock(buffer.get(), kReadWriteOften, kWidth, kHeight, &data);
        helper->unlock(buffer.get());
    });
}

void directLock(auto&& measure) {
    const Buffer buffer = lockable(HAL_PIXEL_FORMAT_BLOB);
    measure([&] {
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

// What a client of the platform itself writes, which flushes nothing.
void bareLock(auto&& measure) {
    const Buffer buffer = lockable(HAL_PIXEL_FORMAT_BLOB);
    measure([&] {
        void* data = nullptr;
        mapper().lock(buffer.get(), kReadWriteOften, kWhole, -1, &data);
        int fence = -1;
        mapper().unlock(buffer.get(), &fence);
        benchmark::DoNotOptimize(fence);
    });
}

void mapperV5Lock(auto&& measure) {
    const Buffer buffer = lockable(HAL_PIXEL_FORMAT_BLOB);
    const NSCam::GrallocMapperAidlV2::MapperV5 backend(allocator());
    measure([&] {
        void* data = nullptr;
        backend.lock(buffer.get(), kReadWriteOften, kWhole, -1, &data);
        benchmark::DoNotOptimize(backend.unlock(buffer.get()));
    });
}

// Both sides unlock through the mapper, so that the next lock finds the buffer as this one did.
void unlockDirectly(const native_handle* handle) {
    int fence = -1;
    mapper().unlock(handle, &fence);
}

void compareYcbcrLock(const std::string& row, int32_t format,
                      std::optional<std::vector<PlaneLayout>> (*read)(const native_handle*)) {
    const auto ours = [=](auto&& measure) {
        const Buffer buffer = lockable(format);
        const NSCam::GrallocMapperAidlV2::MapperV5 backend(allocator());
        measure([&] {
            android_ycbcr ycbcr;
            backend.lock(buffer.get(), kReadWriteOften, kWhole, -1, &ycbcr);
            benchmark::DoNotOptimize(ycbcr);
            unlockDirectly(buffer.get());
        });
    };
    const auto floor = [=](auto&& measure) {
        const Buffer buffer = lockable(format);
        measure([&] {
            benchmark::DoNotOptimize(read(buffer.get()));
            benchmark::DoNotOptimize(read(buffer.get()));
            void* data = nullptr;
            mapper().lock(buffer.get(), kReadWriteOften, kWhole, -1, &data);
            flush();
            unlockDirectly(buffer.get());
        });
    };
    compare(row, ours, floor);
}

}  // namespace

void registerBufferOperations() {
    compare(
            "lock_unlock", [](auto&& measure) { helperLock(measure); },
            [](auto&& measure) { directLock(measure); });
    compare(
            "mapper_lock_unlock", [](auto&& measure) { mapperV5Lock(measure); },
            [](auto&& measure) { bareLock(measure); });
    // The layouts of the second do not fit the first 512 bytes.
    for (const auto& [name, format] : {std::pair("YCrCb_420_SP", HAL_PIXEL_FORMAT_YCRCB_420_SP),
                                       std::pair("YV12", HAL_PIXEL_FORMAT_YV12)}) {
        compareYcbcrLock(std::string("ycbcr_lock/") + name, format, readPlaneLayoutsByTheRule);
        compareYcbcrLock(std::string("ycbcr_lock_stack/") + name, format, readPlaneLayouts);
    }
}

}  // namespace zelkcam::bench
