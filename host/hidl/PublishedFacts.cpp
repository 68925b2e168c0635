// What code compiled against the published headers relies on without asking: sizes, offsets and
// numbers. Nothing here is code; it does not compile when a header departs from them.
#include <stddef.h>

#include <android/hardware/graphics/common/1.2/types.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>
#include <android/hidl/base/1.0/IBase.h>
#include <gralloctypes/Gralloc4.h>
#include <hidl/HidlSupport.h>
#include <system/graphics.h>

namespace {

using android::hardware::hidl_array;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::hidl_version;
using android::hardware::make_hidl_version;
using android::hardware::details::hidl_enum_values;
using android::hardware::details::hidl_pointer;
using android::hardware::graphics::common::V1_2::BufferUsage;
using android::hardware::graphics::common::V1_2::Dataspace;
using android::hardware::graphics::common::V1_2::HardwareBuffer;
using android::hardware::graphics::common::V1_2::PixelFormat;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using android::hidl::base::V1_0::DebugInfo;

namespace V1_0 = android::hardware::graphics::common::V1_0;
namespace V1_1 = android::hardware::graphics::common::V1_1;
namespace V1_2 = android::hardware::graphics::common::V1_2;

static_assert(sizeof(hidl_pointer<char>) == 8);
static_assert(sizeof(hidl_handle) == 16);
static_assert(sizeof(hidl_string) == 16);
static_assert(sizeof(hidl_vec<uint8_t>) == 16 && sizeof(hidl_vec<hidl_handle>) == 16);
static_assert(sizeof(hidl_array<uint8_t, 32>) == 32);
static_assert(sizeof(hidl_array<uint8_t, 2, 3, 4>) == 24);
static_assert(hidl_array<int, 2, 3>::size() == std::make_tuple(size_t{2}, size_t{3}));
static_assert(std::is_trivially_copyable_v<hidl_array<int, 2, 3>>);
static_assert(sizeof(hidl_memory) == 40 && sizeof(hidl_version) == 4);
static_assert(make_hidl_version(1, 2) < make_hidl_version(2, 0));

// An iterator is nothing but itself: code that takes it for a pointer does not build for a device.
using Iterator = hidl_vec<int>::iterator;
static_assert(sizeof(Iterator) == sizeof(int*) && std::is_trivially_copyable_v<Iterator>);
static_assert(std::is_convertible_v<int*, Iterator> && !std::is_convertible_v<Iterator, int*>);
static_assert(!std::is_convertible_v<Iterator, hidl_vec<int>::const_iterator>);
static_assert(!std::is_default_constructible_v<Iterator>);

static_assert(sizeof(IMapper::BufferDescriptorInfo) == 48);
static_assert(offsetof(IMapper::BufferDescriptorInfo, width) == 16);
static_assert(offsetof(IMapper::BufferDescriptorInfo, height) == 20);
static_assert(offsetof(IMapper::BufferDescriptorInfo, layerCount) == 24);
static_assert(offsetof(IMapper::BufferDescriptorInfo, format) == 28);
static_assert(offsetof(IMapper::BufferDescriptorInfo, usage) == 32);
static_assert(offsetof(IMapper::BufferDescriptorInfo, reservedSize) == 40);
static_assert(sizeof(IMapper::Rect) == 16);
static_assert(offsetof(IMapper::Rect, width) == 8 && offsetof(IMapper::Rect, height) == 12);
static_assert(sizeof(IMapper::MetadataType) == 24);
static_assert(offsetof(IMapper::MetadataType, value) == 16);
static_assert(sizeof(IMapper::MetadataTypeDescription) == 48);
static_assert(offsetof(IMapper::MetadataTypeDescription, isSettable) == 41);
static_assert(sizeof(IMapper::MetadataDump) == 40);
static_assert(sizeof(IMapper::BufferDump) == 16);
static_assert(sizeof(HardwareBuffer) == 56);
static_assert(sizeof(DebugInfo) == 24 && offsetof(DebugInfo, arch) == 16);

static_assert(static_cast<int32_t>(Error::NO_RESOURCES) == 5);
static_assert(static_cast<int32_t>(Error::UNSUPPORTED) == 7);
static_assert(hidl_enum_values<Error>.size() == 6);

// How many enumerators each version has, so that none is lost between them.
static_assert(hidl_enum_values<V1_0::PixelFormat>.size() == 20);
static_assert(hidl_enum_values<V1_1::PixelFormat>.size() == 27);
static_assert(hidl_enum_values<PixelFormat>.size() == 28);
static_assert(hidl_enum_values<V1_0::BufferUsage>.size() == 23);
static_assert(hidl_enum_values<BufferUsage>.size() == 26);

static_assert(hidl_enum_values<V1_0::ColorMode>.size() == 10);
static_assert(hidl_enum_values<V1_2::ColorMode>.size() == 14);
static_assert(hidl_enum_values<V1_2::Hdr>[3] == V1_2::Hdr(4));
static_assert(hidl_enum_values<V1_1::RenderIntent>.size() == 4);
static_assert(V1_0::Transform::ROT_270 == V1_0::Transform(7));
static_assert(V1_0::ColorTransform::CORRECT_TRITANOPIA == V1_0::ColorTransform(6));

template <typename E>
constexpr auto number(E value) {
    return static_cast<std::underlying_type_t<E>>(value);
}

// The C constants of the same interfaces, as packaged.
static_assert(number(PixelFormat::YCRCB_420_SP) == HAL_PIXEL_FORMAT_YCRCB_420_SP);
static_assert(number(PixelFormat::RGBA_1010102) == HAL_PIXEL_FORMAT_RGBA_1010102);
static_assert(number(PixelFormat::RAW12) == HAL_PIXEL_FORMAT_RAW12);
static_assert(number(PixelFormat::Y8) == HAL_PIXEL_FORMAT_Y8);
static_assert(number(PixelFormat::Y16) == HAL_PIXEL_FORMAT_Y16);
static_assert(number(PixelFormat::YV12) == HAL_PIXEL_FORMAT_YV12);
static_assert(number(PixelFormat::YCBCR_P010) == HAL_PIXEL_FORMAT_YCBCR_P010);
static_assert(number(PixelFormat::HSV_888) == HAL_PIXEL_FORMAT_HSV_888);
static_assert(number(Dataspace::RANGE_MASK) == HAL_DATASPACE_RANGE_MASK);
static_assert(number(Dataspace::V0_SCRGB) == HAL_DATASPACE_V0_SCRGB);
static_assert(number(Dataspace::SRGB) == HAL_DATASPACE_SRGB);
static_assert(number(Dataspace::BT709) == HAL_DATASPACE_BT709);
static_assert(number(Dataspace::V0_BT709) == HAL_DATASPACE_V0_BT709);
static_assert(number(Dataspace::DISPLAY_P3) == HAL_DATASPACE_DISPLAY_P3);
static_assert(number(Dataspace::BT2020_ITU_HLG) == HAL_DATASPACE_BT2020_ITU_HLG);
static_assert(number(Dataspace::DISPLAY_BT2020) == HAL_DATASPACE_DISPLAY_BT2020);
static_assert(number(BufferUsage::CAMERA_INPUT) == 0x40000);
static_assert(number(BufferUsage::VENDOR_MASK) == 0xF0000000);
static_assert(number(BufferUsage::VENDOR_MASK_HI) == 0xFFFF000000000000);

}  // namespace
