#include "host/gralloc/Device.h"

#include <algorithm>

#include <aidl/android/hardware/graphics/common/BufferUsage.h>
#include <aidl/android/hardware/graphics/common/PixelFormat.h>

namespace zelkcam::host::gralloc {
namespace {

using aidl::android::hardware::graphics::common::BufferUsage;
using aidl::android::hardware::graphics::common::PixelFormat;
using Type = PlaneLayoutComponentType;

// Concrete formats that camera devices use beyond the published enumeration: 10-bit raw, packed
// four pixels in five bytes; and Y, then interleaved CbCr.
constexpr int32_t kFormatCameraOpaque = 0x111;
constexpr int32_t kFormatNv12 = 0x1000;

struct PlaneRule {
    int sampleIncrementInBits;
    // Both are 1 or 2. A plane with vertical subsampling takes half of row times height, halved
    // after the product, so that an odd height leaves half a row behind and not none.
    int horizontalSubsampling;
    int verticalSubsampling;
    // The plane's row is the first plane's row divided by this; a divided row is aligned to 16
    // bytes.
    int rowDivisor;
    Components components;
};

enum class StrideUnit : uint8_t { kPixels, kBytes };

struct FormatRule {
    int32_t format;
    uint32_t fourcc;
    StrideUnit strideUnit;
    int alignment;  // of the stride, in its unit
    // `groupBytes` bytes hold `groupPixels` pixels of the first plane.
    int groupPixels;
    int groupBytes;
    ShortList<PlaneRule, 3> planes;
};

constexpr uint32_t fourcc(const char (&text)[5]) {
    uint32_t code = 0;
    for (int i = 3; i >= 0; --i) {
        code = code << 8 | static_cast<uint8_t>(text[i]);
    }
    return code;
}

constexpr PlaneRule plane(int increment, int subsampling, int rowDivisor,
                          const Components& components) {
    return {increment, subsampling, subsampling, rowDivisor, components};
}

constexpr PlaneRule packed(int increment, const Components& components) {
    return plane(increment, 1, 1, components);
}

constexpr PlaneRule kY8 = packed(8, {{Type::Y, 0, 8}});
constexpr PlaneRule kY16 = packed(16, {{Type::Y, 0, 16}});
// Ten bits at the top of sixteen.
constexpr PlaneRule kY10 = packed(16, {{Type::Y, 6, 10}});
constexpr PlaneRule kCrCb = plane(16, 2, 1, {{Type::CR, 0, 8}, {Type::CB, 8, 8}});
constexpr PlaneRule kCbCr = plane(16, 2, 1, {{Type::CB, 0, 8}, {Type::CR, 8, 8}});
constexpr PlaneRule kCbCr10 = plane(32, 2, 1, {{Type::CB, 6, 10}, {Type::CR, 22, 10}});
constexpr PlaneRule kCr = plane(8, 2, 2, {{Type::CR, 0, 8}});
constexpr PlaneRule kCb = plane(8, 2, 2, {{Type::CB, 0, 8}});
constexpr PlaneRule kPackedRaw = packed(0, {{Type::RAW, 0, -1}});

// Subsampled in one direction only, unlike every other chroma plane here.
constexpr PlaneRule cbCr422() {
    PlaneRule rule = kCbCr;
    rule.verticalSubsampling = 1;
    return rule;
}

constexpr int32_t code(PixelFormat format) {
    return static_cast<int32_t>(format);
}

constexpr FormatRule inPixels(int32_t format, const char (&name)[5], int alignment, int pixelBytes,
                              std::initializer_list<PlaneRule> planes) {
    return {format, fourcc(name), StrideUnit::kPixels, alignment, 1, pixelBytes, planes};
}

constexpr FormatRule inPixels(PixelFormat format, const char (&name)[5], int alignment,
                              int pixelBytes, std::initializer_list<PlaneRule> planes) {
    return inPixels(code(format), name, alignment, pixelBytes, planes);
}

// Raw frames packed over byte borders: one plane of which nothing but the rows can be stated.
constexpr FormatRule packedRaw(int32_t format, const char (&name)[5], StrideUnit unit,
                               int alignment, int groupPixels, int groupBytes) {
    return {format, fourcc(name), unit, alignment, groupPixels, groupBytes, {kPackedRaw}};
}

// The codes are DRM's where DRM has one. RW10, RW12, RWOP and COPQ are the host's own: DRM names no
// packed raw format.
//
// YCBCR_422_I carries no components: a list could not say that its chroma is subsampled inside the
// plane. RAW16 rows are not padded, since camera code takes a row as twice the width.
constexpr FormatRule kFormats[] = {
        inPixels(PixelFormat::RGBA_8888, "AB24", 16, 4,
                 {packed(32,
                         {{Type::R, 0, 8}, {Type::G, 8, 8}, {Type::B, 16, 8}, {Type::A, 24, 8}})}),
        inPixels(PixelFormat::RGBX_8888, "XB24", 16, 4,
                 {packed(32, {{Type::R, 0, 8}, {Type::G, 8, 8}, {Type::B, 16, 8}})}),
        inPixels(PixelFormat::RGB_888, "BG24", 16, 3,
                 {packed(24, {{Type::R, 0, 8}, {Type::G, 8, 8}, {Type::B, 16, 8}})}),
        inPixels(PixelFormat::RGB_565, "RG16", 16, 2,
                 {packed(16, {{Type::B, 0, 5}, {Type::G, 5, 6}, {Type::R, 11, 5}})}),
        inPixels(PixelFormat::BGRA_8888, "AR24", 16, 4,
                 {packed(32,
                         {{Type::B, 0, 8}, {Type::G, 8, 8}, {Type::R, 16, 8}, {Type::A, 24, 8}})}),
        inPixels(PixelFormat::YCBCR_422_SP, "NV16", 64, 1, {kY8, cbCr422()}),
        inPixels(PixelFormat::YCRCB_420_SP, "NV21", 64, 1, {kY8, kCrCb}),
        inPixels(PixelFormat::YCBCR_422_I, "YUYV", 16, 2, {packed(16, {})}),
        inPixels(PixelFormat::RGBA_FP16, "AB4H", 16, 8,
                 {packed(64, {{Type::R, 0, 16},
                              {Type::G, 16, 16},
                              {Type::B, 32, 16},
                              {Type::A, 48, 16}})}),
        inPixels(PixelFormat::RAW16, "R16 ", 1, 2, {packed(16, {{Type::RAW, 0, 16}})}),
        inPixels(PixelFormat::BLOB, "R8  ", 1, 1, {packed(8, {{Type::RAW, 0, 8}})}),
        packedRaw(code(PixelFormat::RAW_OPAQUE), "RWOP", StrideUnit::kBytes, 16, 4, 5),
        packedRaw(code(PixelFormat::RAW10), "RW10", StrideUnit::kBytes, 16, 4, 5),
        packedRaw(code(PixelFormat::RAW12), "RW12", StrideUnit::kBytes, 16, 2, 3),
        inPixels(PixelFormat::RGBA_1010102, "AB30", 16, 4,
                 {packed(32, {{Type::R, 0, 10},
                              {Type::G, 10, 10},
                              {Type::B, 20, 10},
                              {Type::A, 30, 2}})}),
        inPixels(PixelFormat::YCBCR_P010, "P010", 32, 2, {kY10, kCbCr10}),
        inPixels(PixelFormat::R_8, "R8  ", 16, 1, {packed(8, {{Type::R, 0, 8}})}),
        inPixels(PixelFormat::R_16_UINT, "R16 ", 16, 2, {packed(16, {{Type::R, 0, 16}})}),
        inPixels(PixelFormat::RG_1616_UINT, "GR32", 16, 4,
                 {packed(32, {{Type::R, 0, 16}, {Type::G, 16, 16}})}),
        packedRaw(kFormatCameraOpaque, "COPQ", StrideUnit::kPixels, 64, 4, 5),
        inPixels(kFormatNv12, "NV12", 64, 1, {kY8, kCbCr}),
        inPixels(PixelFormat::Y8, "R8  ", 16, 1, {kY8}),
        inPixels(PixelFormat::Y16, "R16 ", 16, 2, {kY16}),
        inPixels(PixelFormat::YV12, "YV12", 16, 1, {kY8, kCr, kCb}),
};

static_assert(std::ranges::is_sorted(kFormats, {}, &FormatRule::format), "findFormat bisects");
static_assert(std::ranges::all_of(kFormats,
                                  [](const FormatRule& rule) {
                                      return rule.strideUnit == StrideUnit::kBytes ||
                                             rule.alignment % rule.groupPixels == 0;
                                  }),
              "a stride in pixels must be whole groups");

constexpr int64_t alignUp(int64_t value, int64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

struct Row {
    int64_t stride;
    int64_t bytes;
};

Row firstRow(const FormatRule& rule, int64_t width) {
    if (rule.strideUnit == StrideUnit::kBytes) {
        const int64_t groups = alignUp(width, rule.groupPixels) / rule.groupPixels;
        const int64_t bytes = alignUp(groups * rule.groupBytes, rule.alignment);
        return {bytes, bytes};
    }
    const int64_t stride = alignUp(width, rule.alignment);
    return {stride, stride / rule.groupPixels * rule.groupBytes};
}

Plane place(const PlaneRule& rule, uint64_t offset, int64_t firstRowBytes, int64_t width,
            int64_t height) {
    constexpr int64_t kDividedRowAlignment = 16;
    const int64_t row = rule.rowDivisor == 1
                                ? firstRowBytes
                                : alignUp(firstRowBytes / rule.rowDivisor, kDividedRowAlignment);
    return {static_cast<int64_t>(offset),
            row,
            row * height / rule.verticalSubsampling,
            width / rule.horizontalSubsampling,
            height / rule.verticalSubsampling,
            rule.sampleIncrementInBits,
            rule.horizontalSubsampling,
            rule.verticalSubsampling,
            rule.components};
}

// Only its writer knows where the chroma samples of a subsampled picture lie.
ChromaSiting chromaSitingOf(const FormatRule& rule) {
    const bool isSubsampled = rule.format == code(PixelFormat::YCBCR_422_I) ||
                              std::ranges::any_of(rule.planes, [](const PlaneRule& plane) {
                                  return plane.horizontalSubsampling > 1;
                              });
    return isSubsampled ? ChromaSiting::UNKNOWN : ChromaSiting::NONE;
}

// False for a buffer beyond kMaxAllocationSize.
bool layOut(const FormatRule& rule, uint32_t width, uint32_t height, Layout* out) {
    const Row row = firstRow(rule, width);
    constexpr int64_t kLimit = kMaxAllocationSize;
    if (row.bytes > kLimit || row.bytes * height > kLimit) {
        return false;
    }
    Layout layout;
    layout.format = rule.format;
    layout.fourcc = rule.fourcc;
    layout.stride = static_cast<uint32_t>(row.stride);
    layout.chromaSiting = chromaSitingOf(rule);
    for (const PlaneRule& planeRule : rule.planes) {
        const Plane plane = place(planeRule, layout.allocationSize, row.bytes, width, height);
        layout.planes.add(plane);
        layout.allocationSize += static_cast<uint64_t>(plane.totalSizeInBytes);
    }
    *out = layout;
    return layout.allocationSize <= kMaxAllocationSize;
}

constexpr uint64_t bits(BufferUsage usage) {
    return static_cast<uint64_t>(usage);
}

bool hasAll(uint64_t usage, uint64_t wanted) {
    return (usage & wanted) == wanted;
}

// IMPLEMENTATION_DEFINED and YCBCR_420_888 are decided by the 64 bits of usage, every other code
// stands for itself.
int32_t resolveFormat(int32_t requested, uint64_t usage) {
    const bool flexible = requested == code(PixelFormat::YCBCR_420_888);
    if (!flexible && requested != code(PixelFormat::IMPLEMENTATION_DEFINED)) {
        return requested;
    }
    // Zero shutter lag: the camera writes the buffer and reads it again, so nobody else has to
    // understand it. A flexible buffer is promised to be YCbCr and can never become opaque.
    constexpr uint64_t kZsl = bits(BufferUsage::CAMERA_OUTPUT) | bits(BufferUsage::CAMERA_INPUT);
    if (!flexible && hasAll(usage, kZsl)) {
        return kFormatCameraOpaque;
    }
    if (hasAll(usage, bits(BufferUsage::VIDEO_ENCODER))) {
        return kFormatNv12;
    }
    return code(PixelFormat::YCRCB_420_SP);
}

// Null where the device has no such format, and for the two that resolveFormat decides.
const FormatRule* findFormat(int32_t concrete) {
    const auto* rule = std::ranges::lower_bound(kFormats, concrete, {}, &FormatRule::format);
    return rule != std::end(kFormats) && rule->format == concrete ? rule : nullptr;
}

constexpr uint64_t bitRange(int first, int last) {
    return (~uint64_t{0} >> (63 - last)) & (~uint64_t{0} << first);
}

// Every bit that the published usage names or leaves to vendors. Old camera code still sets bit 10,
// once the 2D engine; the published interface demands it to be zero and has allocators refuse
// anything else, so it is refused here as well.
constexpr uint64_t kKnownUsage = bitRange(0, 9) | bitRange(11, 12) | bitRange(14, 18) |
                                 bitRange(20, 20) | bitRange(22, 32) | bitRange(48, 63);

bool isMeaningful(const Description& description) {
    return description.width != 0 && description.height != 0 && description.layerCount != 0 &&
           std::ranges::find(description.name, '\0') != description.name.end();
}

bool isServed(const Description& description) {
    return description.layerCount == 1 && (description.usage & ~kKnownUsage) == 0 &&
           description.reservedSize <= kMaxReservedSize;
}

}  // namespace

AIMapper_Error decide(const Description& description, Layout* layout) {
    if (!isMeaningful(description)) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    const FormatRule* rule = findFormat(resolveFormat(description.format, description.usage));
    const bool served = rule != nullptr && isServed(description) &&
                        layOut(*rule, description.width, description.height, layout);
    return served ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_UNSUPPORTED;
}

}  // namespace zelkcam::host::gralloc
