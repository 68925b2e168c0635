// What a query adds to the probe that it makes, format by format.
#include <unistd.h>

#include "bench/Cache.h"
#include "bench/Compare.h"
#include "bench/Platform.h"
#include "platform/plexa.h"
#include "platform/sync.h"

namespace zelkcam::bench {
namespace {

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr uint64_t kCpuReadOften = 3;

struct Format {
    const char* name;
    zcam::GrallocRequest request;
    bool locked;  // the layout takes a lock of the buffer
};

constexpr Format unlocked(const char* name, int32_t code, uint32_t usage = 0) {
    return {name, {usage, code, kWidth, kHeight}, false};
}

constexpr Format locked(const char* name, int32_t code, uint32_t usage = 0) {
    return {name, {usage, code, kWidth, kHeight}, true};
}

constexpr Format kFormats[] = {
        unlocked("RGBA_8888", HAL_PIXEL_FORMAT_RGBA_8888),
        unlocked("RGB_888", HAL_PIXEL_FORMAT_RGB_888),
        unlocked("BGRA_8888", HAL_PIXEL_FORMAT_BGRA_8888),
        locked("YCrCb_420_SP", HAL_PIXEL_FORMAT_YCRCB_420_SP),
        unlocked("YCbCr_422_I", HAL_PIXEL_FORMAT_YCBCR_422_I),
        unlocked("RAW16", HAL_PIXEL_FORMAT_RAW16),
        unlocked("BLOB", HAL_PIXEL_FORMAT_BLOB),
        locked("IMPLEMENTATION_DEFINED", HAL_PIXEL_FORMAT_IMPLEMENTATION_DEFINED, 0x20000),
        locked("YCbCr_420_888", HAL_PIXEL_FORMAT_YCBCR_420_888, 0x20003),
        unlocked("RAW_OPAQUE", HAL_PIXEL_FORMAT_RAW_OPAQUE),
        unlocked("RAW10", HAL_PIXEL_FORMAT_RAW10),
        unlocked("YCBCR_P010", HAL_PIXEL_FORMAT_YCBCR_P010),
        unlocked("CAMERA_OPAQUE", 0x111),
        unlocked("NV12", 0x1000),
        unlocked("Y8", HAL_PIXEL_FORMAT_Y8),
        locked("YV12", HAL_PIXEL_FORMAT_YV12),
};

void readAttributes(const native_handle* handle) {
    for (const plexa_attribute_t attribute :
         {PLEXA_GET_FORMAT, PLEXA_GET_USAGE, PLEXA_GET_WIDTH, PLEXA_GET_HEIGHT, PLEXA_GET_STRIDE,
          PLEXA_GET_VERTICAL_STRIDE, PLEXA_GET_ALLOC_SIZE, PLEXA_GET_BUFFER_FLAGS, PLEXA_GET_STRIDE,
          PLEXA_GET_HEIGHT}) {
        uint64_t value = 0;
        benchmark::DoNotOptimize(plexa_query(handle, attribute, &value));
    }
}

// The layouts are read twice, because the library's YCbCr lock is to do so.
void lockAndUnlock(const native_handle* handle) {
    benchmark::DoNotOptimize(readPlaneLayouts(handle));
    benchmark::DoNotOptimize(readPlaneLayouts(handle));
    void* data = nullptr;
    mapper().lock(handle, kCpuReadOften, {0, 0, kWidth, kHeight}, -1, &data);
    flush();
    int fence = -1;
    mapper().unlock(handle, &fence);
    flush();
    sync_wait(fence, -1);
    close(fence);
}

// The platform calls of a probe, in their order.
void probe(const Format& format) {
    const zcam::GrallocRequest& request = format.request;
    benchmark::DoNotOptimize(systemTime(SYSTEM_TIME_MONOTONIC));
    const native_handle* const handle =
            allocateAndImport(describe(request.format, kWidth, kHeight, request.usage));
    benchmark::DoNotOptimize(systemTime(SYSTEM_TIME_MONOTONIC));
    readAttributes(handle);
    if (format.locked) {
        lockAndUnlock(handle);
    }
    mapper().freeBuffer(handle);
    flush();
    flush();
}

void compareFormat(const Format& format) {
    const auto ours = [&](auto&& measure) {
        fillCache(0);
        zcam::GrallocStaticInfo info;
        const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
        if (provider->query(&format.request, &info) != 0) {
            giveUp("a layout query fails");
        }
        measure([&] { benchmark::DoNotOptimize(provider->query(&format.request, &info, true)); });
    };
    const auto floor = [&](auto&& measure) { measure([&] { probe(format); }); };
    compare(std::string("miss/") + format.name, ours, floor);
}

}  // namespace

void registerCacheMisses() {
    for (const Format& format : kFormats) {
        compareFormat(format);
    }
}

}  // namespace zelkcam::bench
