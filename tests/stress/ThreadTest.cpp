// Sixteen threads that make every operation of the library at once, on buffers of their own and on
// one that they share.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>

#include "platform/plexa.h"
#include "platform/ulog.h"
#include "tests/stress/Stress.h"
#include "utils/gralloc/hidl/allocator/allocator.h"

namespace zelkcam::stress {

namespace {

using NSCam::IGrallocHelper;
using HidlMapper = NSCam::GrallocMapper::Mapper;
using HidlAllocator = NSCam::GrallocAllocator::Allocator;
using HidlPixelFormat = NSCam::GrallocAllocator::PixelFormat;

constexpr int kThreads = 16;

// Everything that the threads share.
struct Shared : Live {
    const HidlMapper hidlMapper;
    const HidlAllocator hidlAllocator{hidlMapper};
    const native_handle* buffer = allocate();

    const native_handle* allocate() const { return Live::allocate(kNv21, 64, 32); }
};

// One thread's view: the buffer that its next operation is for is its own or everybody's.
struct Worker {
    Shared& shared;
    Chance chance;
    const native_handle* own;
    const native_handle* buffer = nullptr;

    // A write to what everybody writes to may find the cell taken for longer than the mapper waits.
    bool written(int result, int whenTaken) const {
        return result == 0 || (buffer == shared.buffer && result == whenTaken);
    }
};

bool ask(Worker& worker) {
    constexpr int32_t kFormats[] = {0x11, 0x21, 0x22, 0x23, 0x32315659, 0x20};
    const int32_t format = kFormats[worker.chance.below(std::size(kFormats))];
    const zcam::GrallocRequest request = {0x20000, format, 64, format == 0x21 ? 1 : 32};
    zcam::GrallocStaticInfo info;
    return worker.shared.helper.query(&request, &info, worker.chance.below(4) == 0) == 0 &&
           !info.planes.empty() && info.widthInPixels == 64;
}

bool describe(Worker& worker) {
    zcam::GrallocStaticInfo info;
    NSCam::GrallocDynamicInfo dynamicInfo;
    return worker.shared.helper.query(worker.buffer, &info, &dynamicInfo) == 0 &&
           info.planes.size() == 2 && dynamicInfo.ionFds[0] == worker.buffer->data[0];
}

bool lockByHelper(Worker& worker) {
    void* address = nullptr;
    return worker.shared.helper.lock(worker.buffer, 3, 64, 32, &address) == 0 &&
           address != nullptr && worker.shared.helper.unlock(worker.buffer) == 0;
}

bool mark(Worker& worker) {
    IGrallocHelper& helper = worker.shared.helper;
    return worker.written(helper.setDirtyCamera(worker.buffer), -EIO) &&
           worker.written(helper.setColorspace_JFIF(worker.buffer), -EIO) &&
           worker.written(helper.setBufferSOF(worker.buffer, 7), -EIO);
}

bool speak(Worker& worker) {
    IGrallocHelper& helper = worker.shared.helper;
    helper.dumpToLog();
    if (worker.chance.below(4) == 0) {
        helper.clearMap();
    }
    return strcmp(helper.queryPixelFormatName(0x11).c_str(), "YCrCb_420_SP") == 0 &&
           helper.queryGrallocUsageName(0x33).length() != 0 &&
           helper.queryDataspaceName(0x8c20000).length() != 0;
}

bool import(Worker& worker) {
    // A handle that is imported once more: what a receiver holds is as good as what was sent.
    const native_handle* handle = worker.buffer;
    return worker.shared.helper.importBuffer(handle) == 1 && handle != worker.buffer &&
           worker.shared.helper.freeBuffer(handle) == 0;
}

// All forms of lock, and the layouts.
template <auto kMapper>
bool useMapper(Worker& worker) {
    const auto& mapper = worker.shared.*kMapper;
    void* data = nullptr;
    int pixel = 0, row = 0;
    android_ycbcr ycbcr = {};
    std::vector<PlaneLayout> planes;
    const bool isGood = mapper.lock(worker.buffer, 3, {}, -1, &data) == 0 &&
                        mapper.lock(worker.buffer, 3, {}, -1, &data, &pixel, &row) == 0 &&
                        mapper.lock(worker.buffer, 3, {}, -1, &ycbcr) == 0 &&
                        mapper.getPlaneLayouts(worker.buffer, &planes) == 0;
    for (int i = 0; i < 3; ++i) {
        mapper.unlock(worker.buffer);
    }
    // Each lock of a checked process has addresses of its own.
    static const bool isChecked = getenv("ZELKCAM_HOST_CHECK") != nullptr;
    return isGood && (isChecked || ycbcr.y == data) && planes.size() == 2;
}

bool writeHdr(Worker& worker) {
    std::vector<uint8_t> payload(1 + worker.chance.below(200),
                                 static_cast<uint8_t>(worker.chance.below(256)));
    return worker.written(worker.shared.mapper.setGrallocMeta(
                                  worker.buffer, GRALLOC_META_SMPTE2094_40, &payload, 0),
                          AIMAPPER_ERROR_NO_RESOURCES);
}

// Whole values only: all bytes are of one writer.
bool readHdr(Worker& worker) {
    const auto payload =
            worker.shared.mapper.getStandardMetadata<StandardMetadataType::SMPTE2094_40>(
                    worker.buffer);
    if (!payload) {
        return worker.buffer == worker.shared.buffer;
    }
    if (!*payload) {
        return true;
    }
    const std::vector<uint8_t>& bytes = **payload;
    return std::all_of(bytes.begin(), bytes.end(), [&](uint8_t b) { return b == bytes[0]; });
}

bool allocateByAidl(Worker& worker) {
    const native_handle* made = worker.shared.allocate();
    return made != nullptr && worker.shared.allocator.free(made) == 0;
}

bool allocateByHidl(Worker& worker) {
    const native_handle* made = nullptr;
    uint32_t stride = 0;
    return worker.shared.hidlAllocator.allocate(64, 1, HidlPixelFormat::BLOB, 1, kCpu, &made,
                                                &stride, 0, "") == 0 &&
           worker.shared.hidlAllocator.free(made) == 0;
}

struct Kind {
    const char* name;
    bool (*run)(Worker&);
};

constexpr Kind kKinds[] = {
        {"query", ask},
        {"query by handle", describe},
        {"lock and unlock", lockByHelper},
        {"mark", mark},
        {"names, dump and clear", speak},
        {"import and free", import},
        {"MapperV5", useMapper<&Shared::mapper>},
        {"Mapper", useMapper<&Shared::hidlMapper>},
        {"write HDR", writeHdr},
        {"read HDR", readHdr},
        {"AIDL allocate and free", allocateByAidl},
        {"HIDL allocate and free", allocateByHidl},
};

using Counts = std::array<std::atomic<size_t>, std::size(kKinds)>;

void work(Shared& shared, size_t seed, Clock::time_point end, Counts& done, Counts& failed) {
    Worker worker{shared, Chance(seed), shared.allocate()};
    while (Clock::now() < end) {
        const size_t kind = worker.chance.below(std::size(kKinds));
        worker.buffer = worker.chance.below(2) == 0 ? worker.own : shared.buffer;
        failed[kind] += !kKinds[kind].run(worker);
        ++done[kind];
    }
    shared.allocator.free(worker.own);
}

void runThreads(Shared& shared, Clock::duration time) {
    Counts done = {}, failed = {};
    const auto end = Clock::now() + time;
    {
        std::vector<std::jthread> threads;
        for (size_t i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, i] { work(shared, i, end, done, failed); });
        }
    }
    size_t total = 0;
    for (size_t kind = 0; kind < std::size(kKinds); ++kind) {
        EXPECT_EQ(failed[kind], 0u) << kKinds[kind].name;
        EXPECT_GT(done[kind], 0u) << kKinds[kind].name;
        total += done[kind];
    }
    printf("%zu operations of %zu kinds by %d threads\n", total, std::size(kKinds), kThreads);
}

TEST(Threads, MakeEveryOperationAtOnceAndLoseNothing) {
    if (isStrict()) {
        GTEST_SKIP() << kFencesPileUp;
    }
    NSCam::Utils::ULog::ULogger::sMode = 0;  // every cleared layout is warned about
    Shared shared;
    runThreads(shared, std::chrono::milliseconds(500));  // what is built once
    const Holdings before = holdings();
    runThreads(shared, duration());
    EXPECT_EQ(holdings(), before);
    shared.allocator.free(shared.buffer);
}

}  // namespace

}  // namespace zelkcam::stress
