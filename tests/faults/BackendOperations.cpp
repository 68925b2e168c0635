// The operations of the two exported backend pairs.
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/plexa.h"
#include "tests/faults/Doors.h"
#include "tests/faults/Operations.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/hidl/allocator/allocator.h"

namespace zelkcam::faults {

namespace {

using NSCam::GrallocAllocator::Allocator;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocMapper::Mapper;
using NSCam::GrallocMapperAidlV2::GRALLOC_STANDARD_METADATA_TYPE;
using NSCam::GrallocMapperAidlV2::MapperV5;
using HidlMapper = android::hardware::graphics::mapper::V4_0::IMapper;
using HidlPixelFormat = android::hardware::graphics::common::V1_2::PixelFormat;
using Bytes = android::hardware::hidl_vec<uint8_t>;

constexpr uint32_t kCount = 3;

// The pairs, built once; never destroyed, as the process may end at any point of a trial.
const MapperV5& mapperV5() {
    static const MapperV5& instance = *new MapperV5(AllocatorAidl::createInstance());
    return instance;
}
const AllocatorAidl& allocatorAidl() {
    static const auto& instance = *new AllocatorAidl(AllocatorAidl::createInstance(), mapperV5());
    return instance;
}
const Mapper& hidlMapper() {
    static const Mapper& instance = *new Mapper;
    return instance;
}
const Allocator& hidlAllocator() {
    static const Allocator& instance = *new Allocator(hidlMapper());
    return instance;
}

void build() {
    allocatorAidl();
    hidlAllocator();
}

// A fence or none; the fence's number says nothing.
int64_t closed(int fence) {
    if (fence < 0) {
        return fence;
    }
    const Pause pause;
    close(fence);
    return 1;
}

int64_t createDescriptor(Bytes* out) {
    return hidlMapper().createDescriptor({"", 64, 1, 1, HidlPixelFormat::BLOB, kCpu, 0}, out);
}

Bytes encodedDescriptor() {
    const Pause pause;
    Bytes bytes;
    createDescriptor(&bytes);
    return bytes;
}

const ARect kAll = {0, 0, 0, 0};
const HidlMapper::Rect kHidlAll = {0, 0, 0, 0};

// The two pairs as one, where their operations are called alike.
struct Aidl {
    static constexpr char kName[] = "MapperV5::";
    static const MapperV5& mapper() { return mapperV5(); }
    static const AllocatorAidl& allocator() { return allocatorAidl(); }
    static const ARect& all() { return kAll; }
    static int32_t allocateOne(const native_handle** out, uint32_t* stride) {
        return allocatorAidl().allocate(64, 1, NSCam::GrallocAllocatorAidlV2::PixelFormat::BLOB, 1,
                                        kCpu, out, stride, 0, "");
    }
    static int32_t allocateMany(const native_handle** out, uint32_t* stride) {
        NSCam::GrallocAllocatorAidlV2::BufferDescriptorInfo info;
        info.width = 64;
        info.height = info.layerCount = 1;
        info.format = NSCam::GrallocAllocatorAidlV2::PixelFormat::BLOB;
        info.usage = static_cast<decltype(info.usage)>(kCpu);
        return allocatorAidl().allocate(info, kCount, stride, out);
    }
};
struct Hidl {
    static constexpr char kName[] = "Mapper::";
    static const Mapper& mapper() { return hidlMapper(); }
    static const Allocator& allocator() { return hidlAllocator(); }
    static const HidlMapper::Rect& all() { return kHidlAll; }
    static int32_t allocateOne(const native_handle** out, uint32_t* stride) {
        return hidlAllocator().allocate(64, 1, HidlPixelFormat::BLOB, 1, kCpu, out, stride, 0, "");
    }
    static int32_t allocateMany(const native_handle** out, uint32_t* stride) {
        return hidlAllocator().allocate(encodedDescriptor(), kCount, stride, out);
    }
};

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
int64_t free(Stage& stage) {
    return Pair::mapper().freeBuffer(std::exchange(stage.buffer, nullptr));
}

template <typename Pair>
int64_t lock(Stage& stage) {
    return Pair::mapper().lock(stage.buffer, 3, Pair::all(), std::exchange(stage.fence, -1),
                               &stage.address);
}

template <typename Pair>
int64_t lockWithOutputs(Stage& stage) {
    int pixel = 0, row = 0;
    return Pair::mapper().lock(stage.buffer, 3, Pair::all(), std::exchange(stage.fence, -1),
                               &stage.address, &pixel, &row);
}

template <typename Pair>
int64_t lockYcbcr(Stage& stage) {
    android_ycbcr ycbcr = {};
    ycbcr.cstride = kUntouched;
    const int32_t result = Pair::mapper().lock(stage.buffer, 3, Pair::all(),
                                               std::exchange(stage.fence, -1), &ycbcr);
    return (ycbcr.cstride == kUntouched) == (result != 0) ? result : kWrongOutputs;
}

template <typename Pair>
int64_t unlock(Stage& stage) {
    return closed(Pair::mapper().unlock(stage.buffer));
}

template <typename Pair>
int64_t planeLayouts(Stage& stage) {
    std::vector<NSCam::GrallocMapperAidlV2::PlaneLayout> planes;
    return Pair::mapper().getPlaneLayouts(stage.buffer, &planes);
}

template <typename Pair>
int64_t allocateMany(Stage&) {
    const native_handle* handles[kCount] = {};
    uint32_t stride = kUntouched;
    const int32_t result = Pair::allocateMany(handles, &stride);
    const Pause pause;
    const auto kept =
            std::ranges::count_if(handles, [](auto* handle) { return handle != nullptr; });
    for (const native_handle* const handle : handles) {
        if (handle != nullptr) {
            Pair::allocator().free(handle);
        }
    }
    const bool asPromised = (stride == kUntouched) == (result != 0) && (result == 0 || kept == 0);
    return asPromised ? result : kWrongOutputs;
}

template <typename Pair>
int64_t allocateOne(Stage&) {
    const native_handle* handle = nullptr;
    uint32_t stride = kUntouched;
    const int32_t result = Pair::allocateOne(&handle, &stride);
    const Pause pause;
    if (handle != nullptr) {
        Pair::allocator().free(handle);
    }
    const bool asPromised =
            (stride == kUntouched) == (result != 0) && (result == 0 || handle == nullptr);
    return asPromised ? result : kWrongOutputs;
}

template <typename Pair>
int64_t allocatorFree(Stage& stage) {
    return Pair::allocator().free(std::exchange(stage.buffer, nullptr));
}

int64_t setMeta(Stage& stage, int type) {
    std::vector<uint8_t> payload(20, 0x5a);
    uint8_t record[40] = {};
    constexpr unsigned int kSizes[] = {40, 8, 0, 0};
    void* const data = type < 2 ? static_cast<void*>(record) : &payload;
    return mapperV5().setGrallocMeta(stage.buffer, GRALLOC_STANDARD_METADATA_TYPE(type), data,
                                     kSizes[type]);
}

int64_t getMeta(Stage& stage, int type) {
    {
        const Pause pause;
        setMeta(stage, type);
    }
    uint8_t data[224];
    constexpr unsigned int kSizes[] = {40, 8, 224, 0};
    return mapperV5().getGrallocMeta(stage.buffer, GRALLOC_STANDARD_METADATA_TYPE(type), data,
                                     kSizes[type]);
}

int64_t describe(Stage&) {
    Bytes bytes;
    const int64_t result = createDescriptor(&bytes);
    return (bytes.size() != 0) == (result == 0) ? result : kWrongOutputs;
}

Operation operation(const std::string& name, std::function<int64_t(Stage&)> run, Failures failures,
                    int32_t format = kBlob) {
    Operation made = {.name = name, .run = std::move(run), .failures = std::move(failures)};
    made.format = format;
    made.prepare = build;
    return made;
}

Operation locking(Operation made) {
    made.withFence = true;
    made.locks = 1;
    return made;
}

// What both pairs have; each failure as its own pair tells it.
template <typename Pair>
std::vector<Operation> pairOperations() {
    constexpr bool kIsHidl = std::is_same_v<Pair, Hidl>;
    const std::string name = Pair::kName;
    const char* const unread = kIsHidl ? "get(android." : nullptr;
    auto planes =
            kIsHidl ? with(mapperCodes(unread), {{-EINVAL, nullptr}}) : Failures{{3, nullptr}};
    auto ycbcr = with(mapperCodes("failed: "), planes);
    // A call that does not get through never reaches the callback, which is what tells.
    auto plain = mapperCodes("IMapper->lock error happen");
    if (kIsHidl) {
        plain.insert(plain.end(), {{5, nullptr}, {5, "native_handle_init return null"}});
    }
    auto outputs = mapperCodes("failed: ");
    if (kIsHidl) {
        outputs.push_back({5, "native_handle_init return null"});
        ycbcr.push_back({5, "native_handle_init return null"});
    }
    Operation unlocking = operation(name + "unlock", unlock<Pair>, {{-1, nullptr}}, kNv21);
    unlocking.locked = true;
    auto many = kIsHidl ? mapperCodes(nullptr) : Failures{{5, nullptr}, {2, nullptr}};
    auto one = Failures{{-ENOMEM, "Failed to allocate ("}};
    if (kIsHidl) {
        one.push_back({-ENOMEM, "Failed to createDescriptor"});
    }
    return {
            operation(name + "importBuffer", import <Pair>, mapperCodes(nullptr)),
            operation(name + "freeBuffer", free<Pair>, mapperCodes("freeBuffer(")),
            locking(operation(name + "lock", lock<Pair>, plain)),
            locking(operation(name + "lock with outputs", lockWithOutputs<Pair>, outputs, kNv21)),
            locking(operation(name + "lock as YCbCr", lockYcbcr<Pair>, ycbcr, kNv21)),
            unlocking,
            operation(name + "getPlaneLayouts", planeLayouts<Pair>, planes, kNv21),
            operation(name + "allocate three", allocateMany<Pair>, many, 0),
            operation(name + "allocate one", allocateOne<Pair>, one, 0),
            operation(name + "free", allocatorFree<Pair>, {}),
    };
}

Operation ending(Operation made) {
    made.mayEndProcess = true;
    made.format = 0;
    return made;
}

std::shared_ptr<AidlAllocator> service() {
    const Pause pause;
    return AllocatorAidl::createInstance();
}

std::vector<Operation> constructions() {
    return {
            ending(operation("MapperV5", [](Stage&) -> int64_t { return MapperV5(service()), 0; },
                             {{kFatal, "getIMapperLibrarySuffix fail"},
                              {kFatal, "android_load_sphal_library fail"},
                              {kFatal, "AIMapper_loadIMapper missing"},
                              {kFatal, "AIMapper_loadIMapper fail"}})),
            ending(operation(
                    "AllocatorAidl::createInstance",
                    [](Stage&) -> int64_t { return AllocatorAidl::createInstance() ? 0 : 1; },
                    {{1, "gralloc-alloc is missing "}})),
            ending(operation("Mapper", [](Stage&) -> int64_t { return Mapper(), 0; },
                             {{kFatal, "gralloc-mapper must be in passthrough mode"}})),
            ending(operation("Allocator",
                             [](Stage&) -> int64_t { return Allocator(hidlMapper()), 0; },
                             {{kFatal, "gralloc-alloc is missing "}})),
    };
}

}  // namespace

std::vector<Operation> backendOperations() {
    std::vector<Operation> all = constructions();
    for (const auto& more : {pairOperations<Aidl>(), pairOperations<Hidl>()}) {
        all.insert(all.end(), more.begin(), more.end());
    }
    for (int type = 0; type < 4; ++type) {
        const std::string kind = " of kind " + std::to_string(type);
        all.push_back(operation(
                "setGrallocMeta" + kind, [=](Stage& stage) { return setMeta(stage, type); },
                mapperCodes(nullptr)));
        all.push_back(operation("getGrallocMeta" + kind,
                                [=](Stage& stage) { return getMeta(stage, type); }, {}));
    }
    all.push_back(operation("createDescriptor", describe, mapperCodes(nullptr)));
    return all;
}

}  // namespace zelkcam::faults
