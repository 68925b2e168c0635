// Facts of the published interfaces that the binaries on both sides are compiled with: sizes,
// offsets and values. They never change; where an assertion fails, the header is wrong.
#include <climits>
#include <cstddef>

#include <aidl/android/hardware/graphics/allocator/AllocationError.h>
#include <aidl/android/hardware/graphics/allocator/IAllocator.h>
#include <aidl/android/hardware/graphics/common/ChromaSiting.h>
#include <aidl/android/hardware/graphics/common/ColorTransform.h>
#include <aidl/android/hardware/graphics/common/Compression.h>
#include <aidl/android/hardware/graphics/common/FRect.h>
#include <aidl/android/hardware/graphics/common/HardwareBufferDescription.h>
#include <aidl/android/hardware/graphics/common/Hdr.h>
#include <aidl/android/hardware/graphics/common/Interlaced.h>
#include <aidl/android/hardware/graphics/common/PlaneLayoutComponentType.h>
#include <aidl/android/hardware/graphics/common/Point.h>
#include <aidl/android/hardware/graphics/common/Transform.h>
#include <android/binder_manager.h>
#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>
#include <cutils/properties.h>

namespace {

using namespace aidl::android::hardware::graphics::common;
using aidl::android::hardware::graphics::allocator::AllocationError;
using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::allocator::IAllocator;

template <typename E>
constexpr auto numberOf(E value) {
    return static_cast<std::underlying_type_t<E>>(value);
}

template <typename E>
constexpr size_t kCount = ndk::internal::enum_values<E>.size();

// The mapper.
static_assert(sizeof(ARect) == 16 && offsetof(ARect, top) == 4 && offsetof(ARect, right) == 8);
static_assert(sizeof(AIMapper_MetadataType) == 16);
static_assert(offsetof(AIMapper_MetadataType, value) == 8);
static_assert(sizeof(AIMapper_MetadataTypeDescription) == 64);
static_assert(offsetof(AIMapper_MetadataTypeDescription, description) == 16);
static_assert(offsetof(AIMapper_MetadataTypeDescription, isGettable) == 24);
static_assert(offsetof(AIMapper_MetadataTypeDescription, isSettable) == 25);
static_assert(offsetof(AIMapper_MetadataTypeDescription, reserved) == 26);
static_assert(sizeof(AIMapper) == 128 && alignof(AIMapper) == 16);
static_assert(offsetof(AIMapper, version) == 0 && offsetof(AIMapper, v5) == 8);
static_assert(sizeof(AIMapperV5) == 120);
static_assert(offsetof(AIMapperV5, importBuffer) == 0);
static_assert(offsetof(AIMapperV5, freeBuffer) == 8);
static_assert(offsetof(AIMapperV5, getTransportSize) == 16);
static_assert(offsetof(AIMapperV5, lock) == 24);
static_assert(offsetof(AIMapperV5, unlock) == 32);
static_assert(offsetof(AIMapperV5, flushLockedBuffer) == 40);
static_assert(offsetof(AIMapperV5, rereadLockedBuffer) == 48);
static_assert(offsetof(AIMapperV5, getMetadata) == 56);
static_assert(offsetof(AIMapperV5, getStandardMetadata) == 64);
static_assert(offsetof(AIMapperV5, setMetadata) == 72);
static_assert(offsetof(AIMapperV5, setStandardMetadata) == 80);
static_assert(offsetof(AIMapperV5, listSupportedMetadataTypes) == 88);
static_assert(offsetof(AIMapperV5, dumpBuffer) == 96);
static_assert(offsetof(AIMapperV5, dumpAllBuffers) == 104);
static_assert(offsetof(AIMapperV5, getReservedRegion) == 112);
static_assert(AIMAPPER_VERSION_5 == 5 && sizeof(AIMapper_Version) == 4);
static_assert(AIMAPPER_ERROR_NONE == 0 && AIMAPPER_ERROR_BAD_DESCRIPTOR == 1);
static_assert(AIMAPPER_ERROR_BAD_BUFFER == 2 && AIMAPPER_ERROR_BAD_VALUE == 3);
static_assert(AIMAPPER_ERROR_NO_RESOURCES == 5 && AIMAPPER_ERROR_UNSUPPORTED == 7);

// The records, most of which other processes and older binaries fill.
static_assert(sizeof(Rect) == 16);
static_assert(sizeof(XyColor) == 8 && sizeof(Point) == 8 && sizeof(FRect) == 16);
static_assert(offsetof(HardwareBufferDescription, usage) == 16);
static_assert(sizeof(Smpte2086) == 40 && offsetof(Smpte2086, whitePoint) == 24);
static_assert(offsetof(Smpte2086, maxLuminance) == 32 && offsetof(Smpte2086, minLuminance) == 36);
static_assert(sizeof(Cta861_3) == 8 && offsetof(Cta861_3, maxFrameAverageLightLevel) == 4);
static_assert(offsetof(PlaneLayout, offsetInBytes) == 24);
static_assert(offsetof(PlaneLayout, sampleIncrementInBits) == 32);
static_assert(offsetof(PlaneLayout, strideInBytes) == 40);
static_assert(offsetof(PlaneLayout, widthInSamples) == 48);
static_assert(offsetof(PlaneLayout, heightInSamples) == 56);
static_assert(offsetof(PlaneLayout, totalSizeInBytes) == 64);
static_assert(offsetof(PlaneLayout, horizontalSubsampling) == 72);
static_assert(offsetof(PlaneLayout, verticalSubsampling) == 80 && sizeof(PlaneLayout) == 88);
static_assert(offsetof(BufferDescriptorInfo, width) == 128);
static_assert(offsetof(BufferDescriptorInfo, format) == 140);
static_assert(offsetof(BufferDescriptorInfo, usage) == 144);
static_assert(offsetof(BufferDescriptorInfo, reservedSize) == 152);

// The enums. Several codes are listed twice on purpose: as a sum of fields and as one number.
static_assert(kCount<StandardMetadataType> == 24 && numberOf(StandardMetadataType::STRIDE) == 23);
static_assert(kCount<PlaneLayoutComponentType> == 8 && kCount<Compression> == 2);
static_assert(kCount<Interlaced> == 3 && kCount<ChromaSiting> == 6 && kCount<BlendMode> == 4);
static_assert(kCount<PixelFormat> == 33 && kCount<BufferUsage> == 27 && kCount<Dataspace> == 63);
static_assert(kCount<AllocationError> == 3 && numberOf(AllocationError::BAD_DESCRIPTOR) == 0);
static_assert(numberOf(PlaneLayoutComponentType::R) == 1 << 10);
static_assert(numberOf(PlaneLayoutComponentType::RAW) == 1 << 20);
static_assert(numberOf(PlaneLayoutComponentType::A) == 1 << 30);
static_assert(numberOf(PixelFormat::YCBCR_P010) == 0x36);
static_assert(numberOf(PixelFormat::YV12) == ('Y' | 'V' << 8 | '1' << 16 | '2' << 24));
static_assert(numberOf(BufferUsage::FRONT_BUFFER) == int64_t{1} << 32);
static_assert(numberOf(BufferUsage::VENDOR_MASK) == 0xF0000000);
static_assert(numberOf(BufferUsage::VENDOR_MASK_HI) == -(int64_t{1} << 48));
static_assert(numberOf(Dataspace::STANDARD_MASK) == 0x3F0000);
static_assert(numberOf(Dataspace::TRANSFER_MASK) == 0x7C00000);
static_assert(numberOf(Dataspace::RANGE_MASK) == 0x38000000);

static_assert(numberOf(Hdr::DOLBY_VISION_4K30) == 5 && kCount<Hdr> == 6);
static_assert(Transform::ROT_270 == Transform(7) && kCount<Transform> == 6);
static_assert(numberOf(ColorTransform::CORRECT_TRITANOPIA) == 6);

// Loops meet the enumerators in the order of their declaration.
static_assert(ndk::internal::enum_values<Dataspace>[50] == Dataspace::BT2020_LINEAR_EXTENDED);
static_assert(ndk::internal::enum_values<Dataspace>[62] == Dataspace::BT709_FULL_RANGE);
static_assert(ndk::internal::enum_values<PixelFormat>[18] == PixelFormat::Y8);
static_assert(ndk::internal::enum_values<BufferUsage>[24] == BufferUsage::FRONT_BUFFER);

constexpr Dataspace sumOf(Dataspace standard, Dataspace transfer, Dataspace range) {
    return static_cast<Dataspace>(numberOf(standard) | numberOf(transfer) | numberOf(range));
}
static_assert(Dataspace::BT2020_ITU_HLG ==
              sumOf(Dataspace::STANDARD_BT2020, Dataspace::TRANSFER_HLG, Dataspace::RANGE_LIMITED));
static_assert(Dataspace::BT2020_PQ ==
              sumOf(Dataspace::STANDARD_BT2020, Dataspace::TRANSFER_ST2084, Dataspace::RANGE_FULL));
static_assert(Dataspace::DISPLAY_P3 ==
              sumOf(Dataspace::STANDARD_DCI_P3, Dataspace::TRANSFER_SRGB, Dataspace::RANGE_FULL));
static_assert(Dataspace::ADOBE_RGB == sumOf(Dataspace::STANDARD_ADOBE_RGB,
                                            Dataspace::TRANSFER_GAMMA2_2, Dataspace::RANGE_FULL));
static_assert(Dataspace::BT601_525 == sumOf(Dataspace::STANDARD_BT601_525,
                                            Dataspace::TRANSFER_SMPTE_170M,
                                            Dataspace::RANGE_LIMITED));
static_assert(Dataspace::SCRGB_LINEAR == sumOf(Dataspace::STANDARD_BT709,
                                               Dataspace::TRANSFER_LINEAR,
                                               Dataspace::RANGE_EXTENDED));

// Binder.
constexpr int latestLevelSeen() {
    if API_LEVEL_AT_LEAST (35, 202404) {
        return 35;
    }
    return 0;
}
static_assert(latestLevelSeen() == 35);
static_assert(STATUS_UNKNOWN_ERROR == INT_MIN && STATUS_UNEXPECTED_NULL == INT_MIN + 8);
static_assert(EX_SERVICE_SPECIFIC == -8 && EX_TRANSACTION_FAILED == -129);
static_assert(IAllocator::version == 2);
static_assert(IAllocator::TRANSACTION_getIMapperLibrarySuffix == 4);
static_assert(sizeof(ndk::SpAIBinder) == 8 && sizeof(ndk::ScopedAStatus) == 8);
static_assert(sizeof(ndk::ScopedFileDescriptor) == 4);

// Properties.
static_assert(PROPERTY_KEY_MAX == 32 && PROPERTY_VALUE_MAX == 92);

}  // namespace
