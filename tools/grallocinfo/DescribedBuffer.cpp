#include "tools/grallocinfo/DescribedBuffer.h"

#include <cerrno>

#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/StableMapper.h"

namespace grallocinfo {

using aidl::android::hardware::graphics::common::StandardMetadataType;
using aidl::android::hardware::graphics::common::XyColor;
using NSCam::GrallocMapperAidlV2::MapperV5;

namespace {

Failure handleFailure(int32_t status) {
    const std::string led = "the query by handle answered " + std::to_string(status) + ": ";
    if (status == -ENOENT) {
        return {ExitCode::kLibraryFailure, "NO_LAYOUT_RULE", status,
                led + "the library has no layout rule for the buffer's format"};
    }
    return {ExitCode::kLibraryFailure, "LAYOUT_UNREADABLE", status,
            led + "the buffer's attributes, layout or shared-memory descriptor cannot be read"};
}

std::array<float, 2> pair(const XyColor& colour) {
    return {colour.x, colour.y};
}

HdrMetadata readHdr(const native_handle* handle, const MapperV5& mapper) {
    HdrMetadata hdr;
    const auto display = mapper.getStandardMetadata<StandardMetadataType::SMPTE2086>(handle);
    if (display && *display) {
        hdr.smpte2086 = {{pair((*display)->primaryRed), pair((*display)->primaryGreen),
                          pair((*display)->primaryBlue), pair((*display)->whitePoint)},
                         (*display)->maxLuminance,
                         (*display)->minLuminance};
    }
    const auto light = mapper.getStandardMetadata<StandardMetadataType::CTA861_3>(handle);
    if (light && *light) {
        hdr.cta861_3 = {(*light)->maxContentLightLevel, (*light)->maxFrameAverageLightLevel};
    }
    const auto dynamic = mapper.getStandardMetadata<StandardMetadataType::SMPTE2094_40>(handle);
    if (dynamic) {
        hdr.smpte2094_40 = *dynamic;
    }
    return hdr;
}

}  // namespace

BufferAnswer describeBuffer(const native_handle* handle, const MapperV5& mapper) {
    BufferAnswer answer;
    NSCam::GrallocDynamicInfo dynamic;
    const int32_t status = helper().query(handle, &answer.layout, &dynamic);
    if (status == -ENOENT) {
        const auto layout = mapperLayout(handle);
        answer.isMappersLayout = layout.has_value();
        answer.layout = layout.value_or(answer.layout);
    }
    if (status != 0 && !answer.isMappersLayout) {
        throw handleFailure(status);
    }
    answer.name = formatName(answer.layout.format);
    answer.descriptors.assign(dynamic.ionFds.begin(), dynamic.ionFds.end());
    answer.hdr = readHdr(handle, mapper);
    return answer;
}

}  // namespace grallocinfo
