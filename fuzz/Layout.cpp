// The facade over an extension and a mapper that describe buffers of any size, and the dumps of
// what it makes of them.
#include <dlfcn.h>

#include <climits>
#include <cstdarg>
#include <cstdio>

#include "fuzz/Fuzz.h"
#include "platform/log.h"
#include "platform/plexa.h"
#include "platform/ulog.h"
#include "platform/utils.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace {

using namespace zelkcam::fuzz;
using android::hardware::graphics::mapper::StandardMetadata;

constexpr int32_t kFormats[] = {0x1,  0x3,  0x5,  0x11, 0x14,  0x20,   0x21,       0x22,
                                0x23, 0x24, 0x25, 0x36, 0x111, 0x1000, 0x20203859, 0x32315659};

FuzzedDataProvider* gInput = nullptr;
int32_t gFormat = 0;

PlaneLayoutComponent component(int64_t type, int64_t offset) {
    return {{"android.hardware.graphics.common.PlaneLayoutComponentType", type}, offset / 8 * 8, 8};
}

// Contract: a buffer whose chroma cannot be located ends the process. So these can, if absurdly. A
// component at the address 0 counts as not met.
std::vector<PlaneLayout> locatablePlanes() {
    constexpr int64_t kY = 1, kCb = 2, kCr = 4;
    constexpr int64_t kSteps[] = {8, 16};
    std::vector<PlaneLayout> planes(2);
    planes[0].components = {component(kY, 0)};
    planes[0].sampleIncrementInBits = 8;
    planes[1].components = {component(kCb, anyNumber(*gInput)), component(kCr, anyNumber(*gInput))};
    planes[1].sampleIncrementInBits = gInput->PickValueInArray(kSteps);
    for (PlaneLayout& plane : planes) {
        plane.offsetInBytes = anyNumber(*gInput);
        plane.strideInBytes = anyNumber(*gInput);
    }
    return planes;
}

bool isAnswer(int result) {
    return result == 0 || result == -2 || result == INT32_MIN;
}

}  // namespace

extern "C" {

void* android_load_sphal_library(const char*, int flags) {
    return dlopen(nullptr, flags);
}

AIMapper_Error AIMapper_loadIMapper(AIMapper** out) {
    static AIMapper mapper = {.version = AIMAPPER_VERSION_5, .v5 = {}};
    mapper.v5.importBuffer = [](const native_handle_t*, buffer_handle_t* imported) {
        *imported = native_handle_create(0, 1);
        return AIMAPPER_ERROR_NONE;
    };
    mapper.v5.freeBuffer = [](buffer_handle_t buffer) {
        native_handle_delete(const_cast<native_handle_t*>(buffer));
        return AIMAPPER_ERROR_NONE;
    };
    mapper.v5.lock = [](buffer_handle_t, uint64_t, ARect, int, void** address) {
        *address = reinterpret_cast<void*>(uintptr_t{0x1000});
        return AIMAPPER_ERROR_NONE;
    };
    mapper.v5.unlock = [](buffer_handle_t, int*) { return AIMAPPER_ERROR_NONE; };
    mapper.v5.getStandardMetadata = [](buffer_handle_t, int64_t, void* destination, size_t room) {
        return StandardMetadata<StandardMetadataType::PLANE_LAYOUTS>::value::encode(
                locatablePlanes(), destination, room);
    };
    *out = &mapper;
    return AIMAPPER_ERROR_NONE;
}

int plexa_query(const native_handle*, int attribute, void* out) {
    *static_cast<int32_t*>(out) =
            attribute == PLEXA_GET_FORMAT ? gFormat : static_cast<int32_t>(anyNumber(*gInput));
    return 0;
}

int __android_log_print(int, const char*, const char* format, ...) {
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    require(length >= 0);
    return length;
}

}  // extern "C"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    gInput = &input;
    gFormat = input.ConsumeProbability<float>() < 0.9f ? input.PickValueInArray(kFormats)
                                                       : input.ConsumeIntegral<int32_t>();
    // Debug lines too, so that every argument is made and printed.
    using NSCam::Utils::ULog::ULogger;
    ULogger::sDetailsLevel = 5;
    ULogger::sMode = 1;
    NSCam::IGrallocHelper& helper = *NSCam::IGrallocHelper::singleton();
    helper.clearMap();

    zcam::GrallocStaticInfo info;
    native_handle_t handle = {};
    const int described = helper.query(&handle, &info, nullptr);
    require(isAnswer(described));
    require(described != 0 || (!info.planes.empty() && info.planes.size() <= 3));
    const zcam::GrallocRequest request = {0, 0x21, 64, 1};
    require(isAnswer(helper.query(&request, &info, true)));
    helper.dumpToLog();
    helper.queryGrallocUsageName(input.ConsumeIntegral<int>());
    helper.queryDataspaceName(input.ConsumeIntegral<int>());
    return 0;
}
