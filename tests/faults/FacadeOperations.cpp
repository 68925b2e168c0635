// The operations of the facade.
#include <cerrno>

#include "tests/faults/Doors.h"
#include "tests/faults/Operations.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::faults {

namespace {

using NSCam::GrallocDynamicInfo;
using NSCam::IGrallocHelper;
using zcam::GrallocRequest;
using zcam::GrallocStaticInfo;

constexpr int32_t kYv12 = 0x32315659;
constexpr int32_t kImplementationDefined = 0x22;

const Failures kDerivationFailures = {
        {INT32_MIN, "plexa_query returns"},
        {INT32_MIN, "format from plexa_query should not be"},
        {-ENOENT, "Not support format"},
};
const Failures kMarkFailures = {
        {-EINVAL, nullptr}, {-ENODEV, nullptr}, {-EIO, nullptr},
        {-ERANGE, nullptr}, {-EBADF, nullptr},  {1, nullptr},
};

IGrallocHelper& helper() {
    return *IGrallocHelper::singleton();
}

// The helper, the extension's mapper and everything else that is found once.
void buildHelper() {
    helper().clearMap();
    const GrallocRequest request = {.format = kBlob, .widthInPixels = 8, .heightInPixels = 1};
    GrallocStaticInfo info;
    helper().query(&request, &info, true);
    for (const int32_t format : {kBlob, kNv21, kYv12, kImplementationDefined}) {
        helper().queryPixelFormatName(format);
    }
    helper().clearMap();
}

int64_t startUp(Stage&) {
    IGrallocHelper* const built = IGrallocHelper::singleton();
    const Pause pause;
    const GrallocRequest request = {.format = kBlob, .widthInPixels = 64, .heightInPixels = 1};
    GrallocStaticInfo info;
    return built->query(&request, &info);
}

auto request(int32_t format, uint32_t usage = 0) {
    return [=](Stage&) -> int64_t {
        const GrallocRequest request = {usage, format, 64, format == kBlob ? 1 : 32};
        GrallocStaticInfo info;
        info.format = kUntouched;
        const int result = helper().query(&request, &info, true);
        return (info.format == kUntouched) == (result != 0) ? result : kWrongOutputs;
    };
}

int64_t describe(Stage& stage) {
    GrallocStaticInfo info;
    GrallocDynamicInfo dynamicInfo;
    const int result = helper().query(stage.buffer, &info, &dynamicInfo);
    return (dynamicInfo.ionFds.size() == 1) == (result == 0) ? result : kWrongOutputs;
}

int64_t import(Stage& stage) {
    const native_handle* handle = stage.raw;
    const int result = helper().importBuffer(handle);
    const Pause pause;
    if (result == 0) {
        return handle == stage.raw ? 0 : kWrongOutputs;
    }
    // Null when the mapper said so.
    return helper().freeBuffer(handle) == (handle != nullptr ? 0 : -1) ? result : kWrongOutputs;
}

int64_t free(Stage& stage) {
    return helper().freeBuffer(std::exchange(stage.buffer, nullptr));
}

int64_t lock(Stage& stage) {
    return helper().lock(stage.buffer, 3, 64, 1, &stage.address);
}

template <auto Setter, auto... Arguments>
int64_t mark(Stage& stage) {
    return (helper().*Setter)(stage.buffer, Arguments...);
}

int64_t unlock(Stage& stage) {
    return helper().unlock(stage.buffer);
}

Operation query(const std::string& name, int32_t format, uint32_t usage = 0) {
    Operation operation = {.name = "query of " + name, .run = request(format, usage)};
    operation.failures = with(kDerivationFailures, {{-ENOMEM, "Bad allcation handle"}});
    // Located by a lock, whose failure is fatal.
    if (format != kBlob) {
        operation.failures.push_back({kFatal, "[Fatal] [gQueryYCbCr] status:"});
    }
    operation.mayEndProcess = format != kBlob;
    operation.format = 0;
    operation.prepare = buildHelper;
    return operation;
}

Operation description(const std::string& name, int32_t format) {
    Operation operation = query(name, format);
    operation.name = "description of " + name;
    operation.run = describe;
    operation.failures = with(kDerivationFailures, {{INT32_MIN, "ionFd:"}});
    if (format != kBlob) {
        operation.failures.push_back({kFatal, "[Fatal] [gQueryYCbCr] status:"});
    }
    operation.format = format;
    return operation;
}

Operation simple(const std::string& name, std::function<int64_t(Stage&)> run, Failures failures) {
    Operation operation = {.name = name, .run = std::move(run), .failures = std::move(failures)};
    operation.prepare = buildHelper;
    return operation;
}

Operation start() {
    Operation operation = simple("start-up", startUp, {});
    operation.failures = {{-ENOMEM, "Failed to create allocator instance"},
                          {kFatal, "getIMapperLibrarySuffix fail"},
                          {kFatal, "android_load_sphal_library fail"},
                          {kFatal, "AIMapper_loadIMapper missing"},
                          {kFatal, "AIMapper_loadIMapper fail"}};
    operation.format = 0;
    operation.fresh = true;
    operation.mayEndProcess = true;
    operation.prepare = [] {};
    return operation;
}

int64_t nameAll(Stage&) {
    helper().queryPixelFormatName(kNv21);
    helper().queryGrallocUsageName(0x33);
    helper().queryDataspaceName(0x8c20000);
    return 0;
}

int64_t dumpAndClear(Stage&) {
    helper().dumpToLog();
    helper().clearMap();
    return 0;
}

}  // namespace

std::vector<Operation> facadeOperations() {
    Operation locking = simple("lock", lock, mapperCodes("lock(...) failed"));
    locking.locks = 1;
    Operation unlocking = simple("unlock", unlock, {});
    unlocking.locked = true;
    return {
            start(),
            query("a blob", kBlob),
            query("YCrCb_420_SP", kNv21),
            query("YV12", kYv12),
            query("what the camera writes", kImplementationDefined, 0x20000),
            description("a blob", kBlob),
            description("YCrCb_420_SP", kNv21),
            description("YV12", kYv12),
            simple("setDirtyCamera", mark<&IGrallocHelper::setDirtyCamera>, kMarkFailures),
            simple("setColorspace_JFIF", mark<&IGrallocHelper::setColorspace_JFIF>, kMarkFailures),
            simple("setBufferSOF", mark<&IGrallocHelper::setBufferSOF, 5>, kMarkFailures),
            simple("setBufferStatus", mark<&IGrallocHelper::setBufferStatus, 3, 1>, kMarkFailures),
            simple("importBuffer", import, {{0, "importBuffer("}}),
            simple("freeBuffer", free, mapperCodes("freeBuffer(")),
            locking,
            unlocking,
            simple("names", nameAll, {}),
            simple("dumpToLog and clearMap", dumpAndClear, {}),
    };
}

}  // namespace zelkcam::faults
