// What buffers look like: the published expectations, and that all that is said of a buffer agrees.
#include <map>
#include <numeric>

#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::common::PlaneLayout;
using Type = aidl::android::hardware::graphics::common::PlaneLayoutComponentType;

constexpr int32_t kCameraOpaque = 0x111;
constexpr int32_t kNv12 = 0x1000;

constexpr int32_t kServed[] = {0x1,  0x2,           0x3,   0x4,        0x5,        0x10,
                               0x11, 0x14,          0x16,  0x20,       0x21,       0x24,
                               0x25, 0x26,          0x2B,  0x36,       0x38,       0x39,
                               0x3A, kCameraOpaque, kNv12, 0x20203859, 0x20363159, 0x32315659};

struct Size {
    int32_t width, height;
};
constexpr Size kSizes[] = {{1920, 1080}, {4000, 3000}, {1921, 1083}, {1, 1}, {3, 5}};

uint32_t fourcc(const std::string& name) {
    return name[0] | name[1] << 8 | name[2] << 16 | name[3] << 24;
}

// Components as text: type, offset and size in bits.
std::string text(const PlaneLayout& plane) {
    static const std::map<Type, std::string> names = {
            {Type::Y, "Y"}, {Type::CB, "Cb"}, {Type::CR, "Cr"}, {Type::R, "R"},
            {Type::G, "G"}, {Type::B, "B"},   {Type::A, "A"},   {Type::RAW, "RAW"}};
    std::string result = std::to_string(plane.sampleIncrementInBits) + ":";
    for (const auto& component : plane.components) {
        result += " " + names.at(static_cast<Type>(component.type.value)) + "@" +
                  std::to_string(component.offsetInBits) + "+" +
                  std::to_string(component.sizeInBits);
    }
    return result;
}

// One plane as offset, stride, total, samples and subsampling.
struct Plane {
    int64_t offset, stride, total, width, height, subsampling;
    std::string components;
};

struct Expected {
    int32_t format;
    std::string fourcc;
    uint32_t stride;
    std::vector<Plane> planes;
};

// Every number by hand, at 1921x1083.
const Expected kExpected[] = {
        {0x1, "AB24", 1936, {{0, 7744, 8386752, 1921, 1083, 1, "32: R@0+8 G@8+8 B@16+8 A@24+8"}}},
        {0x3, "BG24", 1936, {{0, 5808, 6290064, 1921, 1083, 1, "24: R@0+8 G@8+8 B@16+8"}}},
        {0x11,
         "NV21",
         1984,
         {{0, 1984, 2148672, 1921, 1083, 1, "8: Y@0+8"},
          {2148672, 1984, 1074336, 960, 541, 2, "16: Cr@0+8 Cb@8+8"}}},
        {kNv12,
         "NV12",
         1984,
         {{0, 1984, 2148672, 1921, 1083, 1, "8: Y@0+8"},
          {2148672, 1984, 1074336, 960, 541, 2, "16: Cb@0+8 Cr@8+8"}}},
        {0x32315659,
         "YV12",
         1936,
         {{0, 1936, 2096688, 1921, 1083, 1, "8: Y@0+8"},
          {2096688, 976, 528504, 960, 541, 2, "8: Cr@0+8"},
          {2625192, 976, 528504, 960, 541, 2, "8: Cb@0+8"}}},
        {0x36,
         "P010",
         1952,
         {{0, 3904, 4228032, 1921, 1083, 1, "16: Y@6+10"},
          {4228032, 3904, 2114016, 960, 541, 2, "32: Cb@6+10 Cr@22+10"}}},
        {0x14, "YUYV", 1936, {{0, 3872, 4193376, 1921, 1083, 1, "16:"}}},
        {0x20, "R16 ", 1921, {{0, 3842, 4160886, 1921, 1083, 1, "16: RAW@0+16"}}},
        {0x25, "RW10", 2416, {{0, 2416, 2616528, 1921, 1083, 1, "0: RAW@0+-1"}}},
        {0x26, "RW12", 2896, {{0, 2896, 3136368, 1921, 1083, 1, "0: RAW@0+-1"}}},
        {kCameraOpaque, "COPQ", 1984, {{0, 2480, 2685840, 1921, 1083, 1, "0: RAW@0+-1"}}},
        {0x21, "R8  ", 1921, {{0, 1921, 2080443, 1921, 1083, 1, "8: RAW@0+8"}}},
};

TEST(Layout, isTheOneExpectedAtAnOddSize) {
    for (const Expected& expected : kExpected) {
        SCOPED_TRACE(expected.fourcc);
        const Import buffer(describe(expected.format, 1921, 1083));
        EXPECT_EQ(buffer.value<StandardMetadataType::PIXEL_FORMAT_FOURCC>(),
                  fourcc(expected.fourcc));
        EXPECT_EQ(buffer.value<StandardMetadataType::STRIDE>(), expected.stride);
        const auto planes = buffer.value<StandardMetadataType::PLANE_LAYOUTS>().value();
        ASSERT_EQ(planes.size(), expected.planes.size());
        for (size_t i = 0; i < planes.size(); ++i) {
            const PlaneLayout& plane = planes[i];
            const Plane& wanted = expected.planes[i];
            EXPECT_EQ(plane.offsetInBytes, wanted.offset);
            EXPECT_EQ(plane.strideInBytes, wanted.stride);
            EXPECT_EQ(plane.totalSizeInBytes, wanted.total);
            EXPECT_EQ(plane.widthInSamples, wanted.width);
            EXPECT_EQ(plane.heightInSamples, wanted.height);
            EXPECT_EQ(plane.horizontalSubsampling, wanted.subsampling);
            EXPECT_EQ(plane.verticalSubsampling, wanted.subsampling);
            EXPECT_EQ(text(plane), wanted.components);
        }
    }
}

TEST(Layout, agreesWithItselfForEveryFormatAndSize) {
    for (const int32_t format : kServed) {
        for (const Size size : kSizes) {
            SCOPED_TRACE(testing::Message() << std::hex << format << std::dec << " " << size.width
                                            << "x" << size.height);
            const auto info = describe(format, size.width, size.height);
            const RawBuffer raw(info);
            const Import buffer(raw.raw());
            EXPECT_EQ(buffer.value<StandardMetadataType::STRIDE>(),
                      static_cast<uint32_t>(raw.stride()));
            EXPECT_GE(raw.stride(), size.width);

            const auto planes = buffer.value<StandardMetadataType::PLANE_LAYOUTS>().value();
            const auto crops = buffer.value<StandardMetadataType::CROP>().value();
            ASSERT_EQ(crops.size(), planes.size());
            int64_t end = 0;
            for (size_t i = 0; i < planes.size(); ++i) {
                const PlaneLayout& plane = planes[i];
                EXPECT_EQ(plane.offsetInBytes, end) << "no gaps";
                EXPECT_GE(plane.strideInBytes * 8,
                          plane.widthInSamples * plane.sampleIncrementInBits);
                EXPECT_GE(plane.totalSizeInBytes, plane.strideInBytes * plane.heightInSamples);
                EXPECT_EQ(crops[i].right, plane.widthInSamples);
                EXPECT_EQ(crops[i].bottom, plane.heightInSamples);
                end += plane.totalSizeInBytes;
            }
            EXPECT_EQ(buffer.value<StandardMetadataType::ALLOCATION_SIZE>(),
                      static_cast<uint64_t>(end));

            // Every byte that was promised is there.
            uint8_t* pixels = buffer.lock();
            pixels[0] = 1;
            pixels[end - 1] = 2;
            EXPECT_EQ(buffer.unlock(), AIMAPPER_ERROR_NONE);
        }
    }
}

TEST(Layout, decidesOpenFormatsByUsage) {
    constexpr uint64_t kZsl = 0x60000;
    constexpr uint64_t kEncoder = 0x10000;
    constexpr int32_t kOpen = 0x22;
    constexpr int32_t kFlexible = 0x23;
    const struct {
        int32_t format;
        uint64_t usage;
        std::string fourcc;
    } cases[] = {
            {kOpen, kZsl, "COPQ"},
            {kOpen, kZsl | kEncoder, "COPQ"},
            {kOpen, kEncoder, "NV12"},
            {kOpen, 0x20000, "NV21"},
            {kOpen, 0, "NV21"},
            {kFlexible, kZsl, "NV21"},
            {kFlexible, kEncoder, "NV12"},
            {kFlexible, kZsl | kEncoder, "NV12"},
            {kFlexible, kReadWriteOften, "NV21"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << each.format << " " << each.usage);
        const Import buffer(describe(each.format, 640, 480, each.usage));
        EXPECT_EQ(buffer.value<StandardMetadataType::PIXEL_FORMAT_FOURCC>(), fourcc(each.fourcc));
        EXPECT_EQ(buffer.value<StandardMetadataType::PIXEL_FORMAT_REQUESTED>(),
                  static_cast<PixelFormat>(each.format));
    }
}

}  // namespace
}  // namespace zelkcam::test
