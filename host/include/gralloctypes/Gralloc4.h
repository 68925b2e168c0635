// The byte form of standard buffer metadata, and the standard names, for clients of the HIDL
// graphics mapper 4.0.
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <type_traits>
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

#define GRALLOC4_STANDARD_METADATA_TYPE "android.hardware.graphics.common.StandardMetadataType"
#define GRALLOC4_STANDARD_CHROMA_SITING "android.hardware.graphics.common.ChromaSiting"
#define GRALLOC4_STANDARD_COMPRESSION "android.hardware.graphics.common.Compression"
#define GRALLOC4_STANDARD_INTERLACED "android.hardware.graphics.common.Interlaced"
#define GRALLOC4_STANDARD_PLANE_LAYOUT_COMPONENT_TYPE \
    "android.hardware.graphics.common.PlaneLayoutComponentType"

// The standard metadata types: name here, enumerator, type of the value.
#define ZELKCAM_GRALLOC4_STANDARD_TYPES(ROW)                                    \
    ROW(BufferId, BUFFER_ID, uint64_t)                                          \
    ROW(Name, NAME, std::string)                                                \
    ROW(Width, WIDTH, uint64_t)                                                 \
    ROW(Height, HEIGHT, uint64_t)                                               \
    ROW(LayerCount, LAYER_COUNT, uint64_t)                                      \
    ROW(PixelFormatRequested, PIXEL_FORMAT_REQUESTED, details::PixelFormat)     \
    ROW(PixelFormatFourCC, PIXEL_FORMAT_FOURCC, uint32_t)                       \
    ROW(PixelFormatModifier, PIXEL_FORMAT_MODIFIER, uint64_t)                   \
    ROW(Usage, USAGE, uint64_t)                                                 \
    ROW(AllocationSize, ALLOCATION_SIZE, uint64_t)                              \
    ROW(ProtectedContent, PROTECTED_CONTENT, uint64_t)                          \
    ROW(Compression, COMPRESSION, details::common::ExtendableType)              \
    ROW(Interlaced, INTERLACED, details::common::ExtendableType)                \
    ROW(ChromaSiting, CHROMA_SITING, details::common::ExtendableType)           \
    ROW(PlaneLayouts, PLANE_LAYOUTS, std::vector<details::common::PlaneLayout>) \
    ROW(Crop, CROP, std::vector<details::common::Rect>)                         \
    ROW(Dataspace, DATASPACE, details::common::Dataspace)                       \
    ROW(BlendMode, BLEND_MODE, details::common::BlendMode)                      \
    ROW(Smpte2086, SMPTE2086, std::optional<details::common::Smpte2086>)        \
    ROW(Cta861_3, CTA861_3, std::optional<details::common::Cta861_3>)           \
    ROW(Smpte2094_40, SMPTE2094_40, std::optional<std::vector<uint8_t>>)        \
    ROW(Smpte2094_10, SMPTE2094_10, std::optional<std::vector<uint8_t>>)

// The values that any type may have.
#define ZELKCAM_GRALLOC4_PLAIN_TYPES(ROW) \
    ROW(Uint32, uint32_t)                 \
    ROW(Int32, int32_t)                   \
    ROW(Uint64, uint64_t)                 \
    ROW(Int64, int64_t)                   \
    ROW(Float, float)                     \
    ROW(Double, double)                   \
    ROW(String, std::string)

// The standard values: their enumeration, the macro of its name, name here, enumerator.
#define ZELKCAM_GRALLOC4_STANDARD_VALUES(ROW)                                           \
    ROW(Compression, COMPRESSION, None, NONE)                                           \
    ROW(Compression, COMPRESSION, DisplayStreamCompression, DISPLAY_STREAM_COMPRESSION) \
    ROW(Interlaced, INTERLACED, None, NONE)                                             \
    ROW(Interlaced, INTERLACED, TopBottom, TOP_BOTTOM)                                  \
    ROW(Interlaced, INTERLACED, RightLeft, RIGHT_LEFT)                                  \
    ROW(ChromaSiting, CHROMA_SITING, None, NONE)                                        \
    ROW(ChromaSiting, CHROMA_SITING, Unknown, UNKNOWN)                                  \
    ROW(ChromaSiting, CHROMA_SITING, SitedInterstitial, SITED_INTERSTITIAL)             \
    ROW(ChromaSiting, CHROMA_SITING, CositedHorizontal, COSITED_HORIZONTAL)             \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, Y, Y)                    \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, CB, CB)                  \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, CR, CR)                  \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, R, R)                    \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, G, G)                    \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, B, B)                    \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, A, A)                    \
    ROW(PlaneLayoutComponentType, PLANE_LAYOUT_COMPONENT_TYPE, RAW, RAW)

namespace android::gralloc4 {

namespace details {

namespace common = ::aidl::android::hardware::graphics::common;
using ::android::hardware::graphics::common::V1_2::PixelFormat;
using ::android::hardware::graphics::mapper::V4_0::IMapper;
using Bytes = ::android::hardware::hidl_vec<uint8_t>;

// Numbers are passed as they are, everything else by reference.
template <typename T>
using Input = std::conditional_t<std::is_arithmetic_v<T>, T, const T&>;

}  // namespace details

// Encoders: NO_ERROR, or BAD_VALUE for a null output. An absent optional is NO_ERROR and leaves the
// output, which may be null then, as it was.
//
// Decoders: NO_ERROR, or BAD_VALUE for a null output and for bytes that are not exactly one value
// of that type under its own header. Then texts and numbers hold the value if only bytes behind it
// were too many; lists and extendable values are empty; everything else stays as it was. No bytes
// at all are an absent optional.
//
// decodePlaneLayouts appends, does not look whether the pointer is null, and keeps the whole planes
// of bytes that end early.
//
// MetadataType_X names the type X; there is one object in every source file that includes this.
#define ZELKCAM_GRALLOC4_DECLARE(NAME, TYPE, ...)                                     \
    static const details::IMapper::MetadataType MetadataType_##NAME = {               \
            GRALLOC4_STANDARD_METADATA_TYPE,                                          \
            static_cast<int64_t>(details::common::StandardMetadataType::TYPE)};       \
    status_t encode##NAME(details::Input<__VA_ARGS__> value, details::Bytes* output); \
    status_t decode##NAME(const details::Bytes& input, __VA_ARGS__* output);
ZELKCAM_GRALLOC4_STANDARD_TYPES(ZELKCAM_GRALLOC4_DECLARE)
#undef ZELKCAM_GRALLOC4_DECLARE

// The same under any other type's own name and number.
#define ZELKCAM_GRALLOC4_DECLARE(NAME, TYPE)                                   \
    status_t encode##NAME(const details::IMapper::MetadataType& metadataType,  \
                          details::Input<TYPE> input, details::Bytes* output); \
    status_t decode##NAME(const details::IMapper::MetadataType& metadataType,  \
                          const details::Bytes& input, TYPE* output);
ZELKCAM_GRALLOC4_PLAIN_TYPES(ZELKCAM_GRALLOC4_DECLARE)
#undef ZELKCAM_GRALLOC4_DECLARE

// Compression_None and so on, one object in every source file that includes this.
#define ZELKCAM_GRALLOC4_DECLARE(ENUM, STANDARD, NAME, VALUE)      \
    static const details::common::ExtendableType ENUM##_##NAME = { \
            GRALLOC4_STANDARD_##STANDARD, static_cast<int64_t>(details::common::ENUM::VALUE)};
ZELKCAM_GRALLOC4_STANDARD_VALUES(ZELKCAM_GRALLOC4_DECLARE)
#undef ZELKCAM_GRALLOC4_DECLARE

// A buffer description, in an encoding without a header.
status_t encodeBufferDescriptorInfo(const details::IMapper::BufferDescriptorInfo& info,
                                    details::Bytes* output);
// On failure the output stays as it was.
status_t decodeBufferDescriptorInfo(const details::Bytes& input,
                                    details::IMapper::BufferDescriptorInfo* output);

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

}  // namespace android::gralloc4
