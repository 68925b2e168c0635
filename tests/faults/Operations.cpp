#include "tests/faults/Operations.h"

#include <dlfcn.h>
#include <sys/eventfd.h>

#include <cstdlib>

#include "tests/faults/Doors.h"
#include "tests/support/Profiles.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace zelkcam::faults {

namespace {

using aidl::android::hardware::graphics::allocator::IAllocator;
using NSCam::IGrallocHelper;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocAllocatorAidlV2::BufferDescriptorInfo;
using NSCam::GrallocAllocatorAidlV2::PixelFormat;
using NSCam::GrallocMapperAidlV2::GRALLOC_META_SMPTE2094_40;
using NSCam::GrallocMapperAidlV2::MapperV5;

constexpr int32_t kBlob = 0x21, kNv21 = 0x11, kYv12 = 0x32315659;
constexpr uint64_t kCpu = 0x33;
// What an output holds beforehand.
constexpr int32_t kUntouched = 0x5a5a5a5a;
constexpr Traits kLocated = {.mayEndProcess = true};  // by a lock, whose failure is fatal

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

int64_t startUp(Stage& stage) {
    helper();
    const Pause pause;
    return request(kBlob)(stage);
}

// ---- Of the AIDL pair, where the facade's do not pass already; built once; never destroyed, as
// the process may end in a trial.

const MapperV5& mapper() {
    static const auto& instance = *new MapperV5(AllocatorAidl::createInstance());
    return instance;
}

const AllocatorAidl& allocator() {
    static const auto& instance = *new AllocatorAidl(AllocatorAidl::createInstance(), mapper());
    return instance;
}

BufferDescriptorInfo descriptor(int32_t format) {
    BufferDescriptorInfo info;
    info.width = 64;
    info.height = format == kBlob ? 1 : 32;  // a blob has one row
    info.layerCount = 1;
    info.format = static_cast<PixelFormat>(format);
    info.usage = static_cast<decltype(info.usage)>(kCpu);
    return info;
}

// As YCbCr: the widest form, which makes the others' calls too.
int64_t lock(Stage& stage) {
    android_ycbcr ycbcr = {};
    ycbcr.cstride = kUntouched;
    int fence = -1;
    {
        const Pause pause;
        fence = eventfd(1, EFD_CLOEXEC);
    }
    const int32_t result = mapper().lock(stage.buffer, 3, {}, fence, &ycbcr);
    return (ycbcr.cstride == kUntouched) == (result != 0) ? result : kWrongOutputs;
}

// All buffers or none, and a stride with success only.
int64_t allocate(Stage&) {
    const native_handle* handles[3] = {};
    uint32_t stride = kUntouched;
    const int32_t result = allocator().allocate(descriptor(kBlob), 3, &stride, handles);
    const Pause pause;
    bool isNothingKept = true;
    for (const native_handle* const handle : handles) {
        if (handle != nullptr) {
            allocator().free(handle);
            isNothingKept = false;
        }
    }
    return (stride == kUntouched) == (result != 0) && (result == 0 || isNothingKept)
                   ? result
                   : kWrongOutputs;
}

int64_t setPayload(Stage& stage) {
    std::vector<uint8_t> payload(20, 0x5a);
    return mapper().setGrallocMeta(stage.buffer, GRALLOC_META_SMPTE2094_40, &payload, 0);
}

int64_t getPayload(Stage& stage) {
    uint8_t data[224];
    return mapper().getGrallocMeta(stage.buffer, GRALLOC_META_SMPTE2094_40, data, 224);
}

// The host's own, behind the library's back.
IAllocator& service() {
    static const auto& instance = *new auto(AllocatorAidl::createInstance());
    return *instance;
}

const AIMapperV5& hostMapper() {
    static const AIMapper* const loaded = [] {
        AIMapper* mapper = nullptr;
        void* const library = android_load_sphal_library("mapper.default.so", RTLD_NOW);
        reinterpret_cast<decltype(&AIMapper_loadIMapper)>(dlsym(library, "AIMapper_loadIMapper"))(
                &mapper);
        return mapper;
    }();
    return loaded->v5;
}

void importBuffer(int32_t format, Stage& stage) {
    if (!service().allocate2(descriptor(format), 1, &stage.allocation).isOk()) {
        abort();
    }
    stage.raw = android::makeFromAidl(stage.allocation.buffers.at(0));
    if (hostMapper().importBuffer(stage.raw, &stage.buffer) != AIMAPPER_ERROR_NONE) {
        abort();
    }
}

}  // namespace

void setStage(const Operation& operation, Stage& stage) {
    if (operation.format != 0) {
        importBuffer(operation.format, stage);
    }
    void* address = nullptr;
    if (operation.traits.locked && hostMapper().lock(stage.buffer, 3, {}, -1, &address) != 0) {
        abort();
    }
}

int clearStage(Stage& stage) {
    int locks = 0;
    if (stage.buffer != nullptr) {
        for (int fence = -1; hostMapper().unlock(stage.buffer, &fence) == AIMAPPER_ERROR_NONE;) {
            ++locks;
        }
        hostMapper().freeBuffer(stage.buffer);
    }
    if (stage.raw != nullptr) {
        native_handle_delete(stage.raw);
    }
    stage = {};
    return locks;
}

void buildOnce() {
    allocator();
    helper().clearMap();
    Stage none;
    request(kBlob)(none);
    helper().clearMap();
}

std::vector<Operation> allOperations() {
    // Contract: a concrete format is probed with usage 0, which the profile strict refuses; and it
    // lets no processor look for the chroma of what only the camera writes.
    const int64_t probed = test::isStrict() ? -12 : 0;
    const uint32_t written = test::isStrict() ? 0x20003 : 0x20000;
    Traits located = kLocated;
    located.success = probed;
    return {
            {"start-up", startUp, 0, {.success = probed, .fresh = true, .mayEndProcess = true}},
            {"query of a blob", request(kBlob), 0, {.success = probed}},
            {"query of YV12", request(kYv12), 0, located},
            {"query of what the camera writes", request(0x22, written), 0, kLocated},
            {"description of a blob", describe},
            {"description of YCrCb_420_SP", describe, kNv21, kLocated},
            {"import", importByHelper, kBlob, {.success = 1}},
            {"lock",
             [](Stage& s) { return helper().lock(s.buffer, 3, 64, 1, &s.address); },
             kBlob,
             {.locks = 1}},
            {"unlock", [](Stage& s) { return helper().unlock(s.buffer); }, kBlob, {.locked = true}},
            {"setBufferSOF", [](Stage& s) { return helper().setBufferSOF(s.buffer, 5); }},
            {"setDirtyCamera", [](Stage& s) { return helper().setDirtyCamera(s.buffer); }},
            {"MapperV5 lock", lock, kNv21, {.locks = 1}},
            {"allocate three", allocate, 0},
            {"AllocatorAidl free",
             [](Stage& s) { return allocator().free(std::exchange(s.buffer, nullptr)); }},
            {"set HDR10+", setPayload},
            {"get HDR10+", getPayload},
    };
}

}  // namespace zelkcam::faults
