#include "tools/grallocinfo/Library.h"

#include <cerrno>
#include <limits>
#include <utility>

#include "platform/mapper.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace grallocinfo {

namespace GrallocAllocatorAidlV2 = NSCam::GrallocAllocatorAidlV2;

namespace {

std::string allocatorServiceName() {
    return std::string(GrallocAllocatorAidlV2::IAllocator::descriptor) + "/default";
}

bool allocatorServiceExists() {
    const std::string name = allocatorServiceName();
    return ndk::SpAIBinder(AServiceManager_checkService(name.c_str())).get() != nullptr;
}

bool isFlexible(int32_t format) {
    return format == HAL_PIXEL_FORMAT_IMPLEMENTATION_DEFINED ||
           format == HAL_PIXEL_FORMAT_YCbCr_420_888;
}

}  // namespace

std::string noAllocatorService() {
    return "there is no graphics allocator service (" + allocatorServiceName() + ")";
}

StatusMeaning meaningOfRefusal(const zcam::GrallocRequest& request, uint32_t usage) {
    if (!allocatorServiceExists()) {
        return {kNoAllocatorService, noAllocatorService()};
    }
    return {"ALLOCATION_REFUSED",
            "the allocator refused a buffer of " + std::to_string(request.widthInPixels) + "x" +
                    std::to_string(request.heightInPixels) + " " +
                    describeFormat(formatName(request.format), request.format) + ", usage " +
                    usageName(usage)};
}

void startLibrary() {
    helper();
    if (!allocatorServiceExists()) {
        silenceLibraryLog();
    }
}

NSCam::IGrallocHelper& helper() {
    return *NSCam::IGrallocHelper::singleton();
}

std::string formatName(int32_t format) {
    return helper().queryPixelFormatName(format).c_str();
}

std::string usageName(uint32_t usage) {
    return helper().queryGrallocUsageName(static_cast<int>(usage)).c_str();
}

uint32_t probeUsage(const zcam::GrallocRequest& request) {
    return isFlexible(request.format) ? request.usage : 0;
}

int32_t tryQueryLayout(const zcam::GrallocRequest& request, bool force, LayoutAnswer& answer) {
    answer.request = request;
    answer.requestedName = formatName(request.format);
    answer.usageName = usageName(request.usage);
    const int32_t status = helper().query(&request, &answer.layout, force);
    if (status == 0) {
        answer.resolvedName = formatName(answer.layout.format);
    }
    return status;
}

LayoutAnswer queryLayout(const zcam::GrallocRequest& request, bool force) {
    LayoutAnswer answer;
    const int32_t status = tryQueryLayout(request, force, answer);
    if (status == 0) {
        return answer;
    }
    const StatusMeaning meaning = meaningOf(status, request);
    throw Failure{ExitCode::kLibraryFailure, meaning.code, status,
                  "the query answered " + std::to_string(status) + ": " + meaning.sentence};
}

StatusMeaning meaningOf(int32_t status, const zcam::GrallocRequest& request) {
    const std::string format = describeFormat(formatName(request.format), request.format);
    if (status == -ENOENT) {
        return {"NO_LAYOUT_RULE",
                isFlexible(request.format)
                        ? "the library has no layout rule for what the allocator made of " + format
                        : "the library has no layout rule for " + format};
    }
    if (status == -ENOMEM) {
        return meaningOfRefusal(request, probeUsage(request));
    }
    if (status == std::numeric_limits<int32_t>::min()) {
        return {"LAYOUT_UNREADABLE",
                "the attributes of the probe buffer of " + format +
                        " cannot be read, or the allocator left its format unresolved"};
    }
    return {"UNEXPECTED_STATUS", "a status that the library does not describe"};
}

std::string mapperStatus(int32_t status) {
    static constexpr std::pair<int32_t, const char*> kNames[] = {
            {AIMAPPER_ERROR_BAD_DESCRIPTOR, "BAD_DESCRIPTOR"},
            {AIMAPPER_ERROR_BAD_BUFFER, "BAD_BUFFER"},
            {AIMAPPER_ERROR_BAD_VALUE, "BAD_VALUE"},
            {AIMAPPER_ERROR_NO_RESOURCES, "NO_RESOURCES"},
            {AIMAPPER_ERROR_UNSUPPORTED, "UNSUPPORTED"}};
    for (const auto& [code, name] : kNames) {
        if (code == status) {
            return std::to_string(status) + " (" + name + ")";
        }
    }
    return std::to_string(status);
}

std::string describeFormat(const std::string& name, int32_t format) {
    return name.empty() ? hex(format) : name + " (" + hex(format) + ")";
}

std::string describeFormats(const std::vector<int32_t>& formats) {
    std::string text;
    for (const int32_t format : formats) {
        text += (text.empty() ? "" : ", ") + describeFormat(formatName(format), format);
    }
    return text;
}

}  // namespace grallocinfo
