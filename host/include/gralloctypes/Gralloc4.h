// The byte form of standard buffer metadata, and the standard names, for clients of the HIDL
// graphics mapper 4.0.
#pragma once

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
#include <stdint.h>
#include <utils/Errors.h>

#include <optional>
#include <string>
#include <vector>

namespace android {
namespace gralloc4 {

#define GRALLOC4_STANDARD_METADATA_TYPE "android.hardware.graphics.common.StandardMetadataType"
#define GRALLOC4_CHROMA_SITING "android.hardware.graphics.common.ChromaSiting"
#define GRALLOC4_COMPRESSION "android.hardware.graphics.common.Compression"
#define GRALLOC4_INTERLACED "android.hardware.graphics.common.Interlaced"
#define GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE \
    "android.hardware.graphics.common.PlaneLayoutComponentType"

// The standard metadata types and extendable values by name. One object in every source file that
// includes this header.
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_BufferId = {GRALLOC4_STANDARD_METADATA_TYPE,
                                 static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                                              StandardMetadataType::BUFFER_ID)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType MetadataType_Name =
        {GRALLOC4_STANDARD_METADATA_TYPE,
         static_cast<int64_t>(
                 ::aidl::android::hardware::graphics::common::StandardMetadataType::NAME)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType MetadataType_Width =
        {GRALLOC4_STANDARD_METADATA_TYPE,
         static_cast<int64_t>(
                 ::aidl::android::hardware::graphics::common::StandardMetadataType::WIDTH)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Height = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::StandardMetadataType::HEIGHT)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_LayerCount = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::LAYER_COUNT)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_PixelFormatRequested = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::PIXEL_FORMAT_REQUESTED)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_PixelFormatFourCC = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::PIXEL_FORMAT_FOURCC)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_PixelFormatModifier = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::PIXEL_FORMAT_MODIFIER)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType MetadataType_Usage =
        {GRALLOC4_STANDARD_METADATA_TYPE,
         static_cast<int64_t>(
                 ::aidl::android::hardware::graphics::common::StandardMetadataType::USAGE)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_AllocationSize = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::ALLOCATION_SIZE)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_ProtectedContent = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::PROTECTED_CONTENT)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Compression = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::COMPRESSION)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Interlaced = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::INTERLACED)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_ChromaSiting = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::CHROMA_SITING)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_PlaneLayouts = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::PLANE_LAYOUTS)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType MetadataType_Crop =
        {GRALLOC4_STANDARD_METADATA_TYPE,
         static_cast<int64_t>(
                 ::aidl::android::hardware::graphics::common::StandardMetadataType::CROP)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Dataspace = {GRALLOC4_STANDARD_METADATA_TYPE,
                                  static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                                               StandardMetadataType::DATASPACE)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_BlendMode = {GRALLOC4_STANDARD_METADATA_TYPE,
                                  static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                                               StandardMetadataType::BLEND_MODE)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Smpte2086 = {GRALLOC4_STANDARD_METADATA_TYPE,
                                  static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                                               StandardMetadataType::SMPTE2086)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Cta861_3 = {GRALLOC4_STANDARD_METADATA_TYPE,
                                 static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                                              StandardMetadataType::CTA861_3)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Smpte2094_40 = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::SMPTE2094_40)};
static const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType
        MetadataType_Smpte2094_10 = {
                GRALLOC4_STANDARD_METADATA_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             StandardMetadataType::SMPTE2094_10)};

static const ::aidl::android::hardware::graphics::common::ExtendableType Compression_None = {
        GRALLOC4_COMPRESSION,
        static_cast<int64_t>(::aidl::android::hardware::graphics::common::Compression::NONE)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        Compression_DisplayStreamCompression = {
                GRALLOC4_COMPRESSION,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::Compression::
                                             DISPLAY_STREAM_COMPRESSION)};

static const ::aidl::android::hardware::graphics::common::ExtendableType Interlaced_None = {
        GRALLOC4_INTERLACED,
        static_cast<int64_t>(::aidl::android::hardware::graphics::common::Interlaced::NONE)};
static const ::aidl::android::hardware::graphics::common::ExtendableType Interlaced_TopBottom = {
        GRALLOC4_INTERLACED,
        static_cast<int64_t>(::aidl::android::hardware::graphics::common::Interlaced::TOP_BOTTOM)};
static const ::aidl::android::hardware::graphics::common::ExtendableType Interlaced_RightLeft = {
        GRALLOC4_INTERLACED,
        static_cast<int64_t>(::aidl::android::hardware::graphics::common::Interlaced::RIGHT_LEFT)};

static const ::aidl::android::hardware::graphics::common::ExtendableType ChromaSiting_None = {
        GRALLOC4_CHROMA_SITING,
        static_cast<int64_t>(::aidl::android::hardware::graphics::common::ChromaSiting::NONE)};
static const ::aidl::android::hardware::graphics::common::ExtendableType ChromaSiting_Unknown = {
        GRALLOC4_CHROMA_SITING,
        static_cast<int64_t>(::aidl::android::hardware::graphics::common::ChromaSiting::UNKNOWN)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        ChromaSiting_SitedInterstitial = {
                GRALLOC4_CHROMA_SITING,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::ChromaSiting::
                                             SITED_INTERSTITIAL)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        ChromaSiting_CositedHorizontal = {
                GRALLOC4_CHROMA_SITING,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::ChromaSiting::
                                             COSITED_HORIZONTAL)};

static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_Y = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::PlaneLayoutComponentType::Y)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_CB = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::PlaneLayoutComponentType::CB)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_CR = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::PlaneLayoutComponentType::CR)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_R = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::PlaneLayoutComponentType::R)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_G = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::PlaneLayoutComponentType::G)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_B = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::PlaneLayoutComponentType::B)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_A = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(
                        ::aidl::android::hardware::graphics::common::PlaneLayoutComponentType::A)};
static const ::aidl::android::hardware::graphics::common::ExtendableType
        PlaneLayoutComponentType_RAW = {
                GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE,
                static_cast<int64_t>(::aidl::android::hardware::graphics::common::
                                             PlaneLayoutComponentType::RAW)};

// Encoding and decoding. Every value but the buffer description starts with the name and number of
// its metadata type. NO_ERROR on success; BAD_VALUE for a null output, for bytes of another type,
// too few bytes, or bytes left over. Encoders replace the output, except for an absent optional,
// which is NO_ERROR and leaves it as it was. An optional decodes from no bytes as absent. Pure
// functions: safe on any thread.

::android::status_t encodeBufferDescriptorInfo(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::BufferDescriptorInfo&
                bufferDescriptorInfo,
        ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeBufferDescriptorInfo(
        const ::android::hardware::hidl_vec<uint8_t>& bufferDescriptorInfo,
        ::android::hardware::graphics::mapper::V4_0::IMapper::BufferDescriptorInfo*
                outBufferDescriptorInfo);

::android::status_t encodeBufferId(uint64_t bufferId,
                                   ::android::hardware::hidl_vec<uint8_t>* outBufferId);
::android::status_t decodeBufferId(const ::android::hardware::hidl_vec<uint8_t>& bufferId,
                                   uint64_t* outBufferId);

::android::status_t encodeName(const std::string& name,
                               ::android::hardware::hidl_vec<uint8_t>* outName);
::android::status_t decodeName(const ::android::hardware::hidl_vec<uint8_t>& name,
                               std::string* outName);

::android::status_t encodeWidth(uint64_t width, ::android::hardware::hidl_vec<uint8_t>* outWidth);
::android::status_t decodeWidth(const ::android::hardware::hidl_vec<uint8_t>& width,
                                uint64_t* outWidth);

::android::status_t encodeHeight(uint64_t height,
                                 ::android::hardware::hidl_vec<uint8_t>* outHeight);
::android::status_t decodeHeight(const ::android::hardware::hidl_vec<uint8_t>& height,
                                 uint64_t* outHeight);

::android::status_t encodeLayerCount(uint64_t layerCount,
                                     ::android::hardware::hidl_vec<uint8_t>* outLayerCount);
::android::status_t decodeLayerCount(const ::android::hardware::hidl_vec<uint8_t>& layerCount,
                                     uint64_t* outLayerCount);

::android::status_t encodePixelFormatRequested(
        const ::android::hardware::graphics::common::V1_2::PixelFormat& pixelFormatRequested,
        ::android::hardware::hidl_vec<uint8_t>* outPixelFormatRequested);
::android::status_t decodePixelFormatRequested(
        const ::android::hardware::hidl_vec<uint8_t>& pixelFormatRequested,
        ::android::hardware::graphics::common::V1_2::PixelFormat* outPixelFormatRequested);

::android::status_t encodePixelFormatFourCC(
        uint32_t pixelFormatFourCC, ::android::hardware::hidl_vec<uint8_t>* outPixelFormatFourCC);
::android::status_t decodePixelFormatFourCC(
        const ::android::hardware::hidl_vec<uint8_t>& pixelFormatFourCC,
        uint32_t* outPixelFormatFourCC);

::android::status_t encodePixelFormatModifier(
        uint64_t pixelFormatModifier,
        ::android::hardware::hidl_vec<uint8_t>* outPixelFormatModifier);
::android::status_t decodePixelFormatModifier(
        const ::android::hardware::hidl_vec<uint8_t>& pixelFormatModifier,
        uint64_t* outPixelFormatModifier);

::android::status_t encodeUsage(uint64_t usage, ::android::hardware::hidl_vec<uint8_t>* outUsage);
::android::status_t decodeUsage(const ::android::hardware::hidl_vec<uint8_t>& usage,
                                uint64_t* outUsage);

::android::status_t encodeAllocationSize(uint64_t allocationSize,
                                         ::android::hardware::hidl_vec<uint8_t>* outAllocationSize);
::android::status_t decodeAllocationSize(
        const ::android::hardware::hidl_vec<uint8_t>& allocationSize, uint64_t* outAllocationSize);

::android::status_t encodeProtectedContent(
        uint64_t protectedContent, ::android::hardware::hidl_vec<uint8_t>* outProtectedContent);
::android::status_t decodeProtectedContent(
        const ::android::hardware::hidl_vec<uint8_t>& protectedContent,
        uint64_t* outProtectedContent);

::android::status_t encodeCompression(
        const ::aidl::android::hardware::graphics::common::ExtendableType& compression,
        ::android::hardware::hidl_vec<uint8_t>* outCompression);
::android::status_t decodeCompression(
        const ::android::hardware::hidl_vec<uint8_t>& compression,
        ::aidl::android::hardware::graphics::common::ExtendableType* outCompression);

::android::status_t encodeInterlaced(
        const ::aidl::android::hardware::graphics::common::ExtendableType& interlaced,
        ::android::hardware::hidl_vec<uint8_t>* outInterlaced);
::android::status_t decodeInterlaced(
        const ::android::hardware::hidl_vec<uint8_t>& interlaced,
        ::aidl::android::hardware::graphics::common::ExtendableType* outInterlaced);

::android::status_t encodeChromaSiting(
        const ::aidl::android::hardware::graphics::common::ExtendableType& chromaSiting,
        ::android::hardware::hidl_vec<uint8_t>* outChromaSiting);
::android::status_t decodeChromaSiting(
        const ::android::hardware::hidl_vec<uint8_t>& chromaSiting,
        ::aidl::android::hardware::graphics::common::ExtendableType* outChromaSiting);

// Decoding appends to the vector. On BAD_VALUE for bytes that end early the planes read so far
// stay in it; for bytes left over it is cleared. The pointer must not be null.
::android::status_t encodePlaneLayouts(
        const std::vector<::aidl::android::hardware::graphics::common::PlaneLayout>& planeLayouts,
        ::android::hardware::hidl_vec<uint8_t>* outPlaneLayouts);
::android::status_t decodePlaneLayouts(
        const ::android::hardware::hidl_vec<uint8_t>& planeLayouts,
        std::vector<::aidl::android::hardware::graphics::common::PlaneLayout>* outPlaneLayouts);

::android::status_t encodeCrop(
        const std::vector<::aidl::android::hardware::graphics::common::Rect>& crop,
        ::android::hardware::hidl_vec<uint8_t>* outCrop);
::android::status_t decodeCrop(
        const ::android::hardware::hidl_vec<uint8_t>& crop,
        std::vector<::aidl::android::hardware::graphics::common::Rect>* outCrop);

::android::status_t encodeDataspace(
        const ::aidl::android::hardware::graphics::common::Dataspace& dataspace,
        ::android::hardware::hidl_vec<uint8_t>* outDataspace);
::android::status_t decodeDataspace(
        const ::android::hardware::hidl_vec<uint8_t>& dataspace,
        ::aidl::android::hardware::graphics::common::Dataspace* outDataspace);

::android::status_t encodeBlendMode(
        const ::aidl::android::hardware::graphics::common::BlendMode& blendMode,
        ::android::hardware::hidl_vec<uint8_t>* outBlendMode);
::android::status_t decodeBlendMode(
        const ::android::hardware::hidl_vec<uint8_t>& blendMode,
        ::aidl::android::hardware::graphics::common::BlendMode* outBlendMode);

::android::status_t encodeSmpte2086(
        const std::optional<::aidl::android::hardware::graphics::common::Smpte2086>& smpte2086,
        ::android::hardware::hidl_vec<uint8_t>* outSmpte2086);
::android::status_t decodeSmpte2086(
        const ::android::hardware::hidl_vec<uint8_t>& smpte2086,
        std::optional<::aidl::android::hardware::graphics::common::Smpte2086>* outSmpte2086);

::android::status_t encodeCta861_3(
        const std::optional<::aidl::android::hardware::graphics::common::Cta861_3>& cta861_3,
        ::android::hardware::hidl_vec<uint8_t>* outCta861_3);
::android::status_t decodeCta861_3(
        const ::android::hardware::hidl_vec<uint8_t>& cta861_3,
        std::optional<::aidl::android::hardware::graphics::common::Cta861_3>* outCta861_3);

::android::status_t encodeSmpte2094_40(const std::optional<std::vector<uint8_t>>& smpte2094_40,
                                       ::android::hardware::hidl_vec<uint8_t>* outSmpte2094_40);
::android::status_t decodeSmpte2094_40(const ::android::hardware::hidl_vec<uint8_t>& smpte2094_40,
                                       std::optional<std::vector<uint8_t>>* outSmpte2094_40);

::android::status_t encodeSmpte2094_10(const std::optional<std::vector<uint8_t>>& smpte2094_10,
                                       ::android::hardware::hidl_vec<uint8_t>* outSmpte2094_10);
::android::status_t decodeSmpte2094_10(const ::android::hardware::hidl_vec<uint8_t>& smpte2094_10,
                                       std::optional<std::vector<uint8_t>>* outSmpte2094_10);

// Values of any other type under that type's own name and number.
::android::status_t encodeUint32(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        uint32_t input, ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeUint32(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const ::android::hardware::hidl_vec<uint8_t>& input, uint32_t* output);

::android::status_t encodeInt32(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        int32_t input, ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeInt32(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const ::android::hardware::hidl_vec<uint8_t>& input, int32_t* output);

::android::status_t encodeUint64(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        uint64_t input, ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeUint64(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const ::android::hardware::hidl_vec<uint8_t>& input, uint64_t* output);

::android::status_t encodeInt64(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        int64_t input, ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeInt64(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const ::android::hardware::hidl_vec<uint8_t>& input, int64_t* output);

::android::status_t encodeFloat(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        float input, ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeFloat(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const ::android::hardware::hidl_vec<uint8_t>& input, float* output);

::android::status_t encodeDouble(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        double input, ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeDouble(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const ::android::hardware::hidl_vec<uint8_t>& input, double* output);

::android::status_t encodeString(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const std::string& input, ::android::hardware::hidl_vec<uint8_t>* output);
::android::status_t decodeString(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType,
        const ::android::hardware::hidl_vec<uint8_t>& input, std::string* output);

// Whether the name is the standard's. Only as many characters are compared as the given name has:
// every beginning of the standard name, and the empty name, count as standard. The value is not
// looked at.
bool isStandardMetadataType(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType);
bool isStandardCompression(
        const ::aidl::android::hardware::graphics::common::ExtendableType& compression);
bool isStandardInterlaced(
        const ::aidl::android::hardware::graphics::common::ExtendableType& interlaced);
bool isStandardChromaSiting(
        const ::aidl::android::hardware::graphics::common::ExtendableType& chromaSiting);
bool isStandardPlaneLayoutComponentType(
        const ::aidl::android::hardware::graphics::common::ExtendableType&
                planeLayoutComponentType);

// The value as the standard's enumeration; it may be no enumerator.
::aidl::android::hardware::graphics::common::StandardMetadataType getStandardMetadataTypeValue(
        const ::android::hardware::graphics::mapper::V4_0::IMapper::MetadataType& metadataType);
::aidl::android::hardware::graphics::common::Compression getStandardCompressionValue(
        const ::aidl::android::hardware::graphics::common::ExtendableType& compression);
::aidl::android::hardware::graphics::common::Interlaced getStandardInterlacedValue(
        const ::aidl::android::hardware::graphics::common::ExtendableType& interlaced);
::aidl::android::hardware::graphics::common::ChromaSiting getStandardChromaSitingValue(
        const ::aidl::android::hardware::graphics::common::ExtendableType& chromaSiting);
::aidl::android::hardware::graphics::common::PlaneLayoutComponentType
getStandardPlaneLayoutComponentTypeValue(
        const ::aidl::android::hardware::graphics::common::ExtendableType&
                planeLayoutComponentType);

// A text for logs: the standard value's, or name, '#' and number of a foreign one.
std::string getCompressionName(
        const ::aidl::android::hardware::graphics::common::ExtendableType& compression);
std::string getInterlacedName(
        const ::aidl::android::hardware::graphics::common::ExtendableType& interlaced);
std::string getChromaSitingName(
        const ::aidl::android::hardware::graphics::common::ExtendableType& chromaSiting);
std::string getPlaneLayoutComponentTypeName(
        const ::aidl::android::hardware::graphics::common::ExtendableType&
                planeLayoutComponentType);

}  // namespace gralloc4
}  // namespace android
