#include "tests/faults/Operations.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "tests/faults/Doors.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/hidl/allocator/allocator.h"

namespace zelkcam::faults {

namespace {

using NSCam::IGrallocHelper;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocAllocatorAidlV2::BufferDescriptorInfo;
using NSCam::GrallocMapperAidlV2::GRALLOC_STANDARD_METADATA_TYPE;
using NSCam::GrallocMapperAidlV2::MapperV5;
using HidlMapper = NSCam::GrallocMapper::Mapper;
using HidlAllocator = NSCam::GrallocAllocator::Allocator;
using HidlFormat = NSCam::GrallocAllocator::PixelFormat;
using Bytes = android::hardware::hidl_vec<uint8_t>;

constexpr int32_t kYv12 = 0x32315659;
// What an output holds beforehand.
constexpr int32_t kUntouched = 0x5a5a5a5a;
constexpr uint32_t kCount = 3;

BufferDescriptorInfo description(int32_t format) {
    BufferDescriptorInfo info;
    info.width = 64;
    info.height = format == kBlob ? 1 : 32;  // a blob has one row
    info.layerCount = 1;
    info.format = static_cast<decltype(info.format)>(format);
    info.usage = static_cast<decltype(info.usage)>(kCpu);
    return info;
}

IGrallocHelper& helper() {
    return *IGrallocHelper::singleton();
}

// ---- Of the facade.

std::function<int64_t(Stage&)> request(int32_t format, uint32_t usage = 0) {
    return [=](Stage&) -> int64_t {
        const zcam::GrallocRequest request = {usage, format, 64, format == kBlob ? 1 : 32};
        zcam::GrallocStaticInfo info;
        info.format = kUntouched;
        const int result = helper().query(&request, &info, true);
        return (info.format == kUntouched) == (result != 0) ? result : kWrongOutputs;
    };
}

int64_t describe(Stage& stage) {
    zcam::GrallocStaticInfo info;
    NSCam::GrallocDynamicInfo dynamicInfo;
    const int result = helper().query(stage.buffer, &info, &dynamicInfo);
    return (dynamicInfo.ionFds.size() == 1) == (result == 0) ? result : kWrongOutputs;
}

int64_t importByHelper(Stage& stage) {
    const native_handle* handle = stage.raw;
    const int result = helper().importBuffer(handle);
    const Pause pause;
    if (result == 0) {
        return handle == stage.raw ? 0 : kWrongOutputs;
    }
    // Null when the mapper gave none.
    return helper().freeBuffer(handle) == (handle != nullptr ? 0 : -1) ? result : kWrongOutputs;
}

int64_t startUp(Stage&) {
    IGrallocHelper& built = helper();
    const Pause pause;
    const zcam::GrallocRequest request = {
            .format = kBlob, .widthInPixels = 64, .heightInPixels = 1};
    zcam::GrallocStaticInfo info;
    return built.query(&request, &info);
}

void addFacade(std::vector<Operation>& all) {
    // Located by a lock, whose failure is fatal.
    const auto located = [&](const char* name, std::function<int64_t(Stage&)> run, int32_t format) {
        all.push_back(
                {.name = name, .run = std::move(run), .format = format, .mayEndProcess = true});
    };
    all.push_back({.name = "start-up",
                   .run = startUp,
                   .format = 0,
                   .fresh = true,
                   .mayEndProcess = true});
    all.push_back({.name = "query of a blob", .run = request(kBlob), .format = 0});
    located("query of YCrCb_420_SP", request(kNv21), 0);
    located("query of YV12", request(kYv12), 0);
    located("query of what the camera writes", request(0x22, 0x20000), 0);
    all.push_back({.name = "description of a blob", .run = describe});
    located("description of YV12", describe, kYv12);
    all.push_back({.name = "import", .run = importByHelper, .success = 1});
    const auto add = [&](const char* name, auto call) {
        all.push_back({.name = name, .run = [=](Stage& stage) -> int64_t { return call(stage); }});
        return &all.back();
    };
    add("free", [](Stage& s) { return helper().freeBuffer(std::exchange(s.buffer, nullptr)); });
    add("lock", [](Stage& s) { return helper().lock(s.buffer, 3, 64, 1, &s.address); })->locks = 1;
    add("unlock", [](Stage& s) { return helper().unlock(s.buffer); })->locked = true;
    add("setBufferSOF", [](Stage& s) { return helper().setBufferSOF(s.buffer, 5); });
    add("setBufferStatus", [](Stage& s) { return helper().setBufferStatus(s.buffer, 3, 1); });
    add("dumpToLog and clearMap", [](Stage&) {
        helper().dumpToLog();
        helper().clearMap();
        return 0;
    });
}

// ---- Of the two pairs, built once; never destroyed, as the process may end in a trial.

struct Aidl {
    static constexpr char kName[] = "MapperV5 ";
    static const MapperV5& mapper() {
        static const auto& instance = *new MapperV5(AllocatorAidl::createInstance());
        return instance;
    }
    static const AllocatorAidl& allocator() {
        static const auto& instance = *new AllocatorAidl(AllocatorAidl::createInstance(), mapper());
        return instance;
    }
    static auto format() { return NSCam::GrallocAllocatorAidlV2::PixelFormat(kBlob); }
    static auto descriptor() { return description(kBlob); }
};

struct Hidl {
    static constexpr char kName[] = "Mapper ";
    static const HidlMapper& mapper() {
        static const auto& instance = *new HidlMapper;
        return instance;
    }
    static const HidlAllocator& allocator() {
        static const auto& instance = *new HidlAllocator(mapper());
        return instance;
    }
    static auto format() { return HidlFormat(kBlob); }
    static int32_t describe(Bytes* out) {
        return mapper().createDescriptor({"", 64, 1, 1, HidlFormat(kBlob), kCpu, 0}, out);
    }
    static Bytes descriptor() {
        const Pause pause;
        Bytes bytes;
        describe(&bytes);
        return bytes;
    }
};

// A fence's number means nothing.
int64_t closed(int fence) {
    if (fence < 0) {
        return fence;
    }
    const Pause pause;
    close(fence);
    return 1;
}

template <typename Pair>
int64_t import(Stage& stage) {
    const native_handle* imported = nullptr;
    const int32_t result = Pair::mapper().importBuffer(stage.raw, &imported);
    const Pause pause;
    if (imported != nullptr) {
        Pair::mapper().freeBuffer(imported);
    }
    return imported == nullptr || result == 0 ? result : kWrongOutputs;
}

template <typename Pair>
int64_t lockYcbcr(Stage& stage) {
    android_ycbcr ycbcr = {};
    ycbcr.cstride = kUntouched;
    const int32_t result =
            Pair::mapper().lock(stage.buffer, 3, {}, std::exchange(stage.fence, -1), &ycbcr);
    return (ycbcr.cstride == kUntouched) == (result != 0) ? result : kWrongOutputs;
}

// Either form of allocation: all buffers or none, and a stride with success only.
template <typename Pair, bool kMany>
int64_t allocate(Stage&) {
    const native_handle* handles[kCount] = {};
    uint32_t stride = kUntouched;
    const int32_t result =
            kMany ? Pair::allocator().allocate(Pair::descriptor(), kCount, &stride, handles)
                  : Pair::allocator().allocate(64, 1, Pair::format(), 1, kCpu, handles, &stride, 0,
                                               "");
    const Pause pause;
    bool isNothingKept = true;
    for (const native_handle* const handle : handles) {
        if (handle != nullptr) {
            Pair::allocator().free(handle);
            isNothingKept = false;
        }
    }
    return (stride == kUntouched) == (result != 0) && (result == 0 || isNothingKept)
                   ? result
                   : kWrongOutputs;
}

template <typename Pair>
void addPair(std::vector<Operation>& all) {
    const auto add = [&](const char* name, std::function<int64_t(Stage&)> run,
                         int32_t format = kBlob) {
        all.push_back(
                {.name = Pair::kName + std::string(name), .run = std::move(run), .format = format});
        return &all.back();
    };
    const auto addLock = [&](const char* name, std::function<int64_t(Stage&)> run) {
        Operation* const operation = add(name, std::move(run), kNv21);
        operation->withFence = true;
        operation->locks = 1;
        // A fence that HIDL cannot wrap; or, as YCbCr, either fence.
        operation->leaves = 1;
    };
    add("importBuffer", import <Pair>);
    add("freeBuffer",
        [](Stage& s) { return Pair::mapper().freeBuffer(std::exchange(s.buffer, nullptr)); });
    addLock("lock", [](Stage& s) {
        return Pair::mapper().lock(s.buffer, 3, {}, std::exchange(s.fence, -1), &s.address);
    });
    addLock("lock with outputs", [](Stage& s) {
        int pixel = 0, row = 0;
        return Pair::mapper().lock(s.buffer, 3, {}, std::exchange(s.fence, -1), &s.address, &pixel,
                                   &row);
    });
    addLock("lock as YCbCr", lockYcbcr<Pair>);
    Operation* const unlocking = add(
            "unlock", [](Stage& s) { return closed(Pair::mapper().unlock(s.buffer)); }, kNv21);
    unlocking->locked = true;
    unlocking->success = 1;
    add(
            "getPlaneLayouts",
            [](Stage& s) {
                std::vector<NSCam::GrallocMapperAidlV2::PlaneLayout> planes;
                return Pair::mapper().getPlaneLayouts(s.buffer, &planes);
            },
            kNv21);
    add("allocate three", allocate<Pair, true>, 0);
    add("allocate one", allocate<Pair, false>, 0);
    add("free of the allocator",
        [](Stage& s) { return Pair::allocator().free(std::exchange(s.buffer, nullptr)); });
}

int64_t setMeta(Stage& stage, int type) {
    const std::vector<uint8_t> payload(20, 0x5a);
    constexpr uint8_t kRecord[40] = {};
    constexpr unsigned int kSizes[] = {40, 8, 0, 0};
    const void* const data = type < 2 ? static_cast<const void*>(kRecord) : &payload;
    return Aidl::mapper().setGrallocMeta(stage.buffer, GRALLOC_STANDARD_METADATA_TYPE(type),
                                         const_cast<void*>(data), kSizes[type]);
}

int64_t getMeta(Stage& stage, int type) {
    {
        const Pause pause;
        setMeta(stage, type);
    }
    uint8_t data[224];
    constexpr unsigned int kSizes[] = {40, 8, 224};
    return Aidl::mapper().getGrallocMeta(stage.buffer, GRALLOC_STANDARD_METADATA_TYPE(type), data,
                                         kSizes[type]);
}

void addMetadata(std::vector<Operation>& all) {
    for (const int type : {0, 1, 2, 3}) {
        const std::string kind = " of kind " + std::to_string(type);
        all.push_back({.name = "setGrallocMeta" + kind,
                       .run = [=](Stage& stage) { return setMeta(stage, type); }});
        if (type != 3) {
            all.push_back({.name = "getGrallocMeta" + kind,
                           .run = [=](Stage& stage) { return getMeta(stage, type); }});
        }
    }
    all.push_back({.name = "createDescriptor", .run = [](Stage&) -> int64_t {
                       Bytes bytes;
                       const int32_t result = Hidl::describe(&bytes);
                       return (bytes.size() != 0) == (result == 0) ? result : kWrongOutputs;
                   }});
}

void addConstructors(std::vector<Operation>& all) {
    const auto add = [&](const char* name, auto construct) {
        all.push_back({.name = name,
                       .run = [=](Stage&) -> int64_t { return construct() ? 0 : 1; },
                       .format = 0,
                       .mayEndProcess = true});
    };
    add("MapperV5 built", [] {
        const auto service = [] {
            const Pause pause;
            return AllocatorAidl::createInstance();
        }();
        return MapperV5(service), true;
    });
    add("createInstance", [] { return AllocatorAidl::createInstance() != nullptr; });
    add("Mapper built", [] { return HidlMapper(), true; });
    add("Allocator built", [] { return HidlAllocator(Hidl::mapper()), true; });
}

void importBuffer(int32_t format, Stage& stage) {
    if (!realAllocator()->allocate2(description(format), 1, &stage.allocation).isOk()) {
        abort();
    }
    stage.raw = android::makeFromAidl(stage.allocation.buffers.at(0));
    if (realMapper().importBuffer(stage.raw, &stage.buffer) != AIMAPPER_ERROR_NONE) {
        abort();
    }
}

}  // namespace

void setStage(const Operation& operation, Stage& stage) {
    if (operation.format != 0) {
        importBuffer(operation.format, stage);
    }
    if (operation.withFence) {
        stage.fence = newFence();
    }
    void* address = nullptr;
    if (operation.locked && realMapper().lock(stage.buffer, 3, {}, -1, &address) != 0) {
        abort();
    }
}

int clearStage(Stage& stage) {
    int locks = 0;
    if (stage.buffer != nullptr) {
        for (int fence = -1; realMapper().unlock(stage.buffer, &fence) == AIMAPPER_ERROR_NONE;) {
            ++locks;
        }
        realMapper().freeBuffer(stage.buffer);
    }
    if (stage.raw != nullptr) {
        native_handle_delete(stage.raw);
    }
    stage = {};
    return locks;
}

void buildOnce() {
    Aidl::allocator();
    Hidl::allocator();
    helper().clearMap();
    Stage none;
    request(kBlob)(none);
    helper().clearMap();
}

std::vector<Operation> allOperations() {
    std::vector<Operation> all;
    addFacade(all);
    addPair<Aidl>(all);
    addPair<Hidl>(all);
    addMetadata(all);
    addConstructors(all);
    return all;
}

}  // namespace zelkcam::faults
