// The byte form of standard buffer metadata, and the standard names, for clients of the HIDL
// graphics mapper 4.0.
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include <aidl/android/hardware/graphics/common/BlendMode.h>
#include <aidl/android/hardware/graphics/common/ChromaSiting.h>
#include <aidl/android/hardware/graphics/common/Compression.h>
#include <aidl/android/hardware/graphics/common/Cta861_3.h>
#include <aidl/android/hardware/graphics/common/Dataspace.h>
#include <aidl/android/hardware/graphics/common/ExtendableType.h>
#include <aidl/android/hardware/graphics/common/Interlaced.h>
#include <aidl/android/hardware/graphics/common/PlaneLayout.h>
#include <aidl/android/hardware/graphics/common/PlaneLayoutComponent.h>
#include <aidl/android/hardware/graphics/common/PlaneLayoutComponentType.h>
#include <aidl/android/hardware/graphics/common/Rect.h>
#include <aidl/android/hardware/graphics/common/Smpte2086.h>
#include <aidl/android/hardware/graphics/common/StandardMetadataType.h>
#include <aidl/android/hardware/graphics/common/XyColor.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>
#include <utils/Errors.h>

namespace android {
namespace gralloc4 {

#define GRALLOC4_STANDARD_METADATA_TYPE "android.hardware.graphics.common.StandardMetadataType"
#define GRALLOC4_CHROMA_SITING "android.hardware.graphics.common.ChromaSiting"
#define GRALLOC4_COMPRESSION "android.hardware.graphics.common.Compression"
#define GRALLOC4_INTERLACED "android.hardware.graphics.common.Interlaced"
#define GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE \
    "android.hardware.graphics.common.PlaneLayoutComponentType"

namespace details {

namespace common = ::aidl::android::hardware::graphics::common;
using ::android::hardware::graphics::common::V1_2::PixelFormat;
using ::android::hardware::graphics::mapper::V4_0::IMapper;
using Bytes = ::android::hardware::hidl_vec<uint8_t>;

inline IMapper::MetadataType standard(common::StandardMetadataType type) {
    return {GRALLOC4_STANDARD_METADATA_TYPE, static_cast<int64_t>(type)};
}

template <typename E>
common::ExtendableType extendable(const char* name, E value) {
    return {name, static_cast<int64_t>(value)};
}

}  // namespace details

// The standard metadata types and extendable values by name. One object in every source file that
// includes this header.
static const details::IMapper::MetadataType MetadataType_BufferId =
        details::standard(details::common::StandardMetadataType::BUFFER_ID);
static const details::IMapper::MetadataType MetadataType_Name =
        details::standard(details::common::StandardMetadataType::NAME);
static const details::IMapper::MetadataType MetadataType_Width =
        details::standard(details::common::StandardMetadataType::WIDTH);
static const details::IMapper::MetadataType MetadataType_Height =
        details::standard(details::common::StandardMetadataType::HEIGHT);
static const details::IMapper::MetadataType MetadataType_LayerCount =
        details::standard(details::common::StandardMetadataType::LAYER_COUNT);
static const details::IMapper::MetadataType MetadataType_PixelFormatRequested =
        details::standard(details::common::StandardMetadataType::PIXEL_FORMAT_REQUESTED);
static const details::IMapper::MetadataType MetadataType_PixelFormatFourCC =
        details::standard(details::common::StandardMetadataType::PIXEL_FORMAT_FOURCC);
static const details::IMapper::MetadataType MetadataType_PixelFormatModifier =
        details::standard(details::common::StandardMetadataType::PIXEL_FORMAT_MODIFIER);
static const details::IMapper::MetadataType MetadataType_Usage =
        details::standard(details::common::StandardMetadataType::USAGE);
static const details::IMapper::MetadataType MetadataType_AllocationSize =
        details::standard(details::common::StandardMetadataType::ALLOCATION_SIZE);
static const details::IMapper::MetadataType MetadataType_ProtectedContent =
        details::standard(details::common::StandardMetadataType::PROTECTED_CONTENT);
static const details::IMapper::MetadataType MetadataType_Compression =
        details::standard(details::common::StandardMetadataType::COMPRESSION);
static const details::IMapper::MetadataType MetadataType_Interlaced =
        details::standard(details::common::StandardMetadataType::INTERLACED);
static const details::IMapper::MetadataType MetadataType_ChromaSiting =
        details::standard(details::common::StandardMetadataType::CHROMA_SITING);
static const details::IMapper::MetadataType MetadataType_PlaneLayouts =
        details::standard(details::common::StandardMetadataType::PLANE_LAYOUTS);
static const details::IMapper::MetadataType MetadataType_Crop =
        details::standard(details::common::StandardMetadataType::CROP);
static const details::IMapper::MetadataType MetadataType_Dataspace =
        details::standard(details::common::StandardMetadataType::DATASPACE);
static const details::IMapper::MetadataType MetadataType_BlendMode =
        details::standard(details::common::StandardMetadataType::BLEND_MODE);
static const details::IMapper::MetadataType MetadataType_Smpte2086 =
        details::standard(details::common::StandardMetadataType::SMPTE2086);
static const details::IMapper::MetadataType MetadataType_Cta861_3 =
        details::standard(details::common::StandardMetadataType::CTA861_3);
static const details::IMapper::MetadataType MetadataType_Smpte2094_40 =
        details::standard(details::common::StandardMetadataType::SMPTE2094_40);
static const details::IMapper::MetadataType MetadataType_Smpte2094_10 =
        details::standard(details::common::StandardMetadataType::SMPTE2094_10);

static const details::common::ExtendableType Compression_None =
        details::extendable(GRALLOC4_COMPRESSION, details::common::Compression::NONE);
static const details::common::ExtendableType Compression_DisplayStreamCompression =
        details::extendable(GRALLOC4_COMPRESSION,
                            details::common::Compression::DISPLAY_STREAM_COMPRESSION);

static const details::common::ExtendableType Interlaced_None =
        details::extendable(GRALLOC4_INTERLACED, details::common::Interlaced::NONE);
static const details::common::ExtendableType Interlaced_TopBottom =
        details::extendable(GRALLOC4_INTERLACED, details::common::Interlaced::TOP_BOTTOM);
static const details::common::ExtendableType Interlaced_RightLeft =
        details::extendable(GRALLOC4_INTERLACED, details::common::Interlaced::RIGHT_LEFT);

static const details::common::ExtendableType ChromaSiting_None =
        details::extendable(GRALLOC4_CHROMA_SITING, details::common::ChromaSiting::NONE);
static const details::common::ExtendableType ChromaSiting_Unknown =
        details::extendable(GRALLOC4_CHROMA_SITING, details::common::ChromaSiting::UNKNOWN);
static const details::common::ExtendableType ChromaSiting_SitedInterstitial = details::extendable(
        GRALLOC4_CHROMA_SITING, details::common::ChromaSiting::SITED_INTERSTITIAL);
static const details::common::ExtendableType ChromaSiting_CositedHorizontal = details::extendable(
        GRALLOC4_CHROMA_SITING, details::common::ChromaSiting::COSITED_HORIZONTAL);

static const details::common::ExtendableType PlaneLayoutComponentType_Y = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::Y);
static const details::common::ExtendableType PlaneLayoutComponentType_CB = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::CB);
static const details::common::ExtendableType PlaneLayoutComponentType_CR = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::CR);
static const details::common::ExtendableType PlaneLayoutComponentType_R = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::R);
static const details::common::ExtendableType PlaneLayoutComponentType_G = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::G);
static const details::common::ExtendableType PlaneLayoutComponentType_B = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::B);
static const details::common::ExtendableType PlaneLayoutComponentType_A = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::A);
static const details::common::ExtendableType PlaneLayoutComponentType_RAW = details::extendable(
        GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE, details::common::PlaneLayoutComponentType::RAW);

// Encoding and decoding. Every value but the buffer description starts with the name and number of
// its metadata type. NO_ERROR on success; BAD_VALUE for a null output, for bytes of another type,
// too few bytes, or bytes left over. Encoders replace the output, except for an absent optional,
// which is NO_ERROR and leaves it as it was. An optional decodes from no bytes as absent. Pure
// functions: safe on any thread.

status_t encodeBufferDescriptorInfo(
        const details::IMapper::BufferDescriptorInfo& bufferDescriptorInfo, details::Bytes* output);
status_t decodeBufferDescriptorInfo(
        const details::Bytes& bufferDescriptorInfo,
        details::IMapper::BufferDescriptorInfo* outBufferDescriptorInfo);

status_t encodeBufferId(uint64_t bufferId, details::Bytes* outBufferId);
status_t decodeBufferId(const details::Bytes& bufferId, uint64_t* outBufferId);

status_t encodeName(const std::string& name, details::Bytes* outName);
status_t decodeName(const details::Bytes& name, std::string* outName);

status_t encodeWidth(uint64_t width, details::Bytes* outWidth);
status_t decodeWidth(const details::Bytes& width, uint64_t* outWidth);

status_t encodeHeight(uint64_t height, details::Bytes* outHeight);
status_t decodeHeight(const details::Bytes& height, uint64_t* outHeight);

status_t encodeLayerCount(uint64_t layerCount, details::Bytes* outLayerCount);
status_t decodeLayerCount(const details::Bytes& layerCount, uint64_t* outLayerCount);

status_t encodePixelFormatRequested(const details::PixelFormat& pixelFormatRequested,
                                    details::Bytes* outPixelFormatRequested);
status_t decodePixelFormatRequested(const details::Bytes& pixelFormatRequested,
                                    details::PixelFormat* outPixelFormatRequested);

status_t encodePixelFormatFourCC(uint32_t pixelFormatFourCC, details::Bytes* outPixelFormatFourCC);
status_t decodePixelFormatFourCC(const details::Bytes& pixelFormatFourCC,
                                 uint32_t* outPixelFormatFourCC);

status_t encodePixelFormatModifier(uint64_t pixelFormatModifier,
                                   details::Bytes* outPixelFormatModifier);
status_t decodePixelFormatModifier(const details::Bytes& pixelFormatModifier,
                                   uint64_t* outPixelFormatModifier);

status_t encodeUsage(uint64_t usage, details::Bytes* outUsage);
status_t decodeUsage(const details::Bytes& usage, uint64_t* outUsage);

status_t encodeAllocationSize(uint64_t allocationSize, details::Bytes* outAllocationSize);
status_t decodeAllocationSize(const details::Bytes& allocationSize, uint64_t* outAllocationSize);

status_t encodeProtectedContent(uint64_t protectedContent, details::Bytes* outProtectedContent);
status_t decodeProtectedContent(const details::Bytes& protectedContent,
                                uint64_t* outProtectedContent);

status_t encodeCompression(const details::common::ExtendableType& compression,
                           details::Bytes* outCompression);
status_t decodeCompression(const details::Bytes& compression,
                           details::common::ExtendableType* outCompression);

status_t encodeInterlaced(const details::common::ExtendableType& interlaced,
                          details::Bytes* outInterlaced);
status_t decodeInterlaced(const details::Bytes& interlaced,
                          details::common::ExtendableType* outInterlaced);

status_t encodeChromaSiting(const details::common::ExtendableType& chromaSiting,
                            details::Bytes* outChromaSiting);
status_t decodeChromaSiting(const details::Bytes& chromaSiting,
                            details::common::ExtendableType* outChromaSiting);

// Decoding appends to the vector. On BAD_VALUE for bytes that end early the planes read so far
// stay in it; for bytes left over it is cleared. The pointer must not be null.
status_t encodePlaneLayouts(const std::vector<details::common::PlaneLayout>& planeLayouts,
                            details::Bytes* outPlaneLayouts);
status_t decodePlaneLayouts(const details::Bytes& planeLayouts,
                            std::vector<details::common::PlaneLayout>* outPlaneLayouts);

status_t encodeCrop(const std::vector<details::common::Rect>& crop, details::Bytes* outCrop);
status_t decodeCrop(const details::Bytes& crop, std::vector<details::common::Rect>* outCrop);

status_t encodeDataspace(const details::common::Dataspace& dataspace, details::Bytes* outDataspace);
status_t decodeDataspace(const details::Bytes& dataspace, details::common::Dataspace* outDataspace);

status_t encodeBlendMode(const details::common::BlendMode& blendMode, details::Bytes* outBlendMode);
status_t decodeBlendMode(const details::Bytes& blendMode, details::common::BlendMode* outBlendMode);

status_t encodeSmpte2086(const std::optional<details::common::Smpte2086>& smpte2086,
                         details::Bytes* outSmpte2086);
status_t decodeSmpte2086(const details::Bytes& smpte2086,
                         std::optional<details::common::Smpte2086>* outSmpte2086);

status_t encodeCta861_3(const std::optional<details::common::Cta861_3>& cta861_3,
                        details::Bytes* outCta861_3);
status_t decodeCta861_3(const details::Bytes& cta861_3,
                        std::optional<details::common::Cta861_3>* outCta861_3);

status_t encodeSmpte2094_40(const std::optional<std::vector<uint8_t>>& smpte2094_40,
                            details::Bytes* outSmpte2094_40);
status_t decodeSmpte2094_40(const details::Bytes& smpte2094_40,
                            std::optional<std::vector<uint8_t>>* outSmpte2094_40);

status_t encodeSmpte2094_10(const std::optional<std::vector<uint8_t>>& smpte2094_10,
                            details::Bytes* outSmpte2094_10);
status_t decodeSmpte2094_10(const details::Bytes& smpte2094_10,
                            std::optional<std::vector<uint8_t>>* outSmpte2094_10);

// Values of any other type under that type's own name and number.
status_t encodeUint32(const details::IMapper::MetadataType& metadataType, uint32_t input,
                      details::Bytes* output);
status_t decodeUint32(const details::IMapper::MetadataType& metadataType,
                      const details::Bytes& input, uint32_t* output);

status_t encodeInt32(const details::IMapper::MetadataType& metadataType, int32_t input,
                     details::Bytes* output);
status_t decodeInt32(const details::IMapper::MetadataType& metadataType,
                     const details::Bytes& input, int32_t* output);

status_t encodeUint64(const details::IMapper::MetadataType& metadataType, uint64_t input,
                      details::Bytes* output);
status_t decodeUint64(const details::IMapper::MetadataType& metadataType,
                      const details::Bytes& input, uint64_t* output);

status_t encodeInt64(const details::IMapper::MetadataType& metadataType, int64_t input,
                     details::Bytes* output);
status_t decodeInt64(const details::IMapper::MetadataType& metadataType,
                     const details::Bytes& input, int64_t* output);

status_t encodeFloat(const details::IMapper::MetadataType& metadataType, float input,
                     details::Bytes* output);
status_t decodeFloat(const details::IMapper::MetadataType& metadataType,
                     const details::Bytes& input, float* output);

status_t encodeDouble(const details::IMapper::MetadataType& metadataType, double input,
                      details::Bytes* output);
status_t decodeDouble(const details::IMapper::MetadataType& metadataType,
                      const details::Bytes& input, double* output);

status_t encodeString(const details::IMapper::MetadataType& metadataType, const std::string& input,
                      details::Bytes* output);
status_t decodeString(const details::IMapper::MetadataType& metadataType,
                      const details::Bytes& input, std::string* output);

// Whether the name is the standard's. Only as many characters are compared as the given name has:
// every beginning of the standard name, and the empty name, count as standard. The value is not
// looked at.
bool isStandardMetadataType(const details::IMapper::MetadataType& metadataType);
bool isStandardCompression(const details::common::ExtendableType& compression);
bool isStandardInterlaced(const details::common::ExtendableType& interlaced);
bool isStandardChromaSiting(const details::common::ExtendableType& chromaSiting);
bool isStandardPlaneLayoutComponentType(
        const details::common::ExtendableType& planeLayoutComponentType);

// The value as the standard's enumeration; it may be no enumerator.
details::common::StandardMetadataType getStandardMetadataTypeValue(
        const details::IMapper::MetadataType& metadataType);
details::common::Compression getStandardCompressionValue(
        const details::common::ExtendableType& compression);
details::common::Interlaced getStandardInterlacedValue(
        const details::common::ExtendableType& interlaced);
details::common::ChromaSiting getStandardChromaSitingValue(
        const details::common::ExtendableType& chromaSiting);
details::common::PlaneLayoutComponentType getStandardPlaneLayoutComponentTypeValue(
        const details::common::ExtendableType& planeLayoutComponentType);

// A text for logs: the standard value's, or name, '#' and number of a foreign one.
std::string getCompressionName(const details::common::ExtendableType& compression);
std::string getInterlacedName(const details::common::ExtendableType& interlaced);
std::string getChromaSitingName(const details::common::ExtendableType& chromaSiting);
std::string getPlaneLayoutComponentTypeName(
        const details::common::ExtendableType& planeLayoutComponentType);

}  // namespace gralloc4
}  // namespace android
