// What buffers look like, and that everything that is answered about a buffer agrees.
#include <set>
#include <sstream>

#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::common::BlendMode;
using aidl::android::hardware::graphics::common::Dataspace;
using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::Rect;
using testing::HasSubstr;
using Component = aidl::android::hardware::graphics::common::PlaneLayoutComponentType;

// A buffer as text: format, fourcc and stride; then for each plane its offset, stride, total,
// samples and subsampling, the bits of a sample, and the components with their offset and size in
// bits.
std::string text(int32_t format, const Import& buffer) {
    const uint32_t code = *buffer.value<T::PIXEL_FORMAT_FOURCC>();
    std::ostringstream out;
    out << std::hex << "0x" << format << std::dec << " '"
        << std::string_view(reinterpret_cast<const char*>(&code), 4) << "' "
        << *buffer.value<T::STRIDE>();
    const auto planes = buffer.value<T::PLANE_LAYOUTS>().value();
    for (const PlaneLayout& plane : planes) {
        out << (planes.size() == 1 ? " " : "\n    ") << plane.offsetInBytes << ' '
            << plane.strideInBytes << ' ' << plane.totalSizeInBytes << ' ' << plane.widthInSamples
            << 'x' << plane.heightInSamples << '/' << plane.horizontalSubsampling
            << plane.verticalSubsampling << ' ' << plane.sampleIncrementInBits << ':';
        for (const auto& component : plane.components) {
            out << ' ' << toString(static_cast<Component>(component.type.value)) << '@'
                << component.offsetInBits << '+' << component.sizeInBits;
        }
    }
    return out.str();
}

// Every number by hand, at 1921x1083.
constexpr char kExpected[] = R"(
0x1 'AB24' 1936 0 7744 8386752 1921x1083/11 32: R@0+8 G@8+8 B@16+8 A@24+8
0x2 'XB24' 1936 0 7744 8386752 1921x1083/11 32: R@0+8 G@8+8 B@16+8
0x3 'BG24' 1936 0 5808 6290064 1921x1083/11 24: R@0+8 G@8+8 B@16+8
0x4 'RG16' 1936 0 3872 4193376 1921x1083/11 16: B@0+5 G@5+6 R@11+5
0x5 'AR24' 1936 0 7744 8386752 1921x1083/11 32: B@0+8 G@8+8 R@16+8 A@24+8
0x10 'NV16' 1984
    0 1984 2148672 1921x1083/11 8: Y@0+8
    2148672 1984 2148672 960x1083/21 16: CB@0+8 CR@8+8
0x11 'NV21' 1984
    0 1984 2148672 1921x1083/11 8: Y@0+8
    2148672 1984 1074336 960x541/22 16: CR@0+8 CB@8+8
0x14 'YUYV' 1936 0 3872 4193376 1921x1083/11 16:
0x16 'AB4H' 1936 0 15488 16773504 1921x1083/11 64: R@0+16 G@16+16 B@32+16 A@48+16
0x20 'R16 ' 1921 0 3842 4160886 1921x1083/11 16: RAW@0+16
0x21 'R8  ' 1921 0 1921 2080443 1921x1083/11 8: RAW@0+8
0x24 'RWOP' 2416 0 2416 2616528 1921x1083/11 0: RAW@0+-1
0x25 'RW10' 2416 0 2416 2616528 1921x1083/11 0: RAW@0+-1
0x26 'RW12' 2896 0 2896 3136368 1921x1083/11 0: RAW@0+-1
0x2b 'AB30' 1936 0 7744 8386752 1921x1083/11 32: R@0+10 G@10+10 B@20+10 A@30+2
0x36 'P010' 1952
    0 3904 4228032 1921x1083/11 16: Y@6+10
    4228032 3904 2114016 960x541/22 32: CB@6+10 CR@22+10
0x38 'R8  ' 1936 0 1936 2096688 1921x1083/11 8: R@0+8
0x39 'R16 ' 1936 0 3872 4193376 1921x1083/11 16: R@0+16
0x3a 'GR32' 1936 0 7744 8386752 1921x1083/11 32: R@0+16 G@16+16
0x111 'COPQ' 1984 0 2480 2685840 1921x1083/11 0: RAW@0+-1
0x1000 'NV12' 1984
    0 1984 2148672 1921x1083/11 8: Y@0+8
    2148672 1984 1074336 960x541/22 16: CB@0+8 CR@8+8
0x20203859 'R8  ' 1936 0 1936 2096688 1921x1083/11 8: Y@0+8
0x20363159 'R16 ' 1936 0 3872 4193376 1921x1083/11 16: Y@0+16
0x32315659 'YV12' 1936
    0 1936 2096688 1921x1083/11 8: Y@0+8
    2096688 976 528504 960x541/22 8: CR@0+8
    2625192 976 528504 960x541/22 8: CB@0+8
)";

TEST(Layout, IsTheOneExpectedAtAnOddSize) {
    if (profileInForce() != "default") {
        GTEST_SKIP() << "the numbers are those of the profile default";
    }
    std::string given = "\n";
    for (const int32_t format :
         {0x1,  0x2,  0x3,  0x4,   0x5,    0x10,       0x11,       0x14,
          0x16, 0x20, 0x21, 0x24,  0x25,   0x26,       0x2b,       0x36,
          0x38, 0x39, 0x3a, 0x111, 0x1000, 0x20203859, 0x20363159, 0x32315659}) {
        SCOPED_TRACE(format);
        const RawBuffer raw(describe(format, 1921, 1083));
        const Import buffer(raw.raw());
        given += text(format, buffer) + "\n";
        EXPECT_EQ(buffer.value<T::STRIDE>(), static_cast<uint32_t>(raw.stride()));
        const auto planes = buffer.value<T::PLANE_LAYOUTS>().value();
        const auto crops = buffer.value<T::CROP>().value();
        ASSERT_EQ(crops.size(), planes.size());
        for (size_t i = 0; i < planes.size(); ++i) {
            EXPECT_EQ(crops[i], Rect({0, 0, static_cast<int32_t>(planes[i].widthInSamples),
                                      static_cast<int32_t>(planes[i].heightInSamples)}));
        }
        const uint64_t end = planes.back().offsetInBytes + planes.back().totalSizeInBytes;
        EXPECT_EQ(buffer.value<T::ALLOCATION_SIZE>(), end);
        buffer.lock()[end - 1] = 1;  // every byte that was promised is there
    }
    EXPECT_EQ(given, kExpected);
}

TEST(Layout, DecidesOpenFormatsByAllOfTheUsage) {
    constexpr uint64_t kZsl = 0x60000, kEncoder = 0x10000;
    EXPECT_THAT(text(0x22, Import(describe(0x22, 64, 64, kZsl | kEncoder))), HasSubstr("'COPQ'"));
    EXPECT_THAT(text(0x22, Import(describe(0x22, 64, 64, 0x20000))), HasSubstr("'NV21'"));
    EXPECT_THAT(text(0x22, Import(describe(0x22, 64, 64, kZsl))), HasSubstr("'COPQ'"));
    EXPECT_THAT(text(0x22, Import(describe(0x22, 64, 64, kEncoder))), HasSubstr("'NV12'"));
    EXPECT_THAT(text(0x23, Import(describe(0x23, 64, 64))), HasSubstr("'NV21'"));
    EXPECT_THAT(text(0x23, Import(describe(0x23, 64, 64, kZsl))), HasSubstr("'NV21'"));
    EXPECT_THAT(text(0x23, Import(describe(0x23, 64, 64, kZsl | kEncoder))), HasSubstr("'NV12'"));
}

TEST(Metadata, OfAFreshBufferIsWhatWasAskedFor) {
    auto info = describe(PixelFormat::YCRCB_420_SP, 640, 480, 0x4033);
    info.name = {'v', 'i', 'e', 'w'};
    const Import buffer(info);
    EXPECT_EQ(buffer.value<T::NAME>(), "view");
    EXPECT_EQ(buffer.value<T::WIDTH>(), 640U);
    EXPECT_EQ(buffer.value<T::HEIGHT>(), 480U);
    EXPECT_EQ(buffer.value<T::LAYER_COUNT>(), 1U);
    EXPECT_EQ(buffer.value<T::PIXEL_FORMAT_REQUESTED>(), PixelFormat::YCRCB_420_SP);
    EXPECT_EQ(buffer.value<T::PIXEL_FORMAT_MODIFIER>(), 0U);
    EXPECT_EQ(buffer.value<T::USAGE>(), static_cast<BufferUsage>(0x4033));
    EXPECT_EQ(buffer.value<T::PROTECTED_CONTENT>(), 1U);
    EXPECT_EQ(buffer.value<T::COMPRESSION>(), android::gralloc4::Compression_None);
    EXPECT_EQ(buffer.value<T::INTERLACED>(), android::gralloc4::Interlaced_None);
    EXPECT_EQ(buffer.value<T::CHROMA_SITING>(), android::gralloc4::ChromaSiting_Unknown);
    EXPECT_EQ(Import(describe(0x1, 64, 64)).value<T::CHROMA_SITING>(),
              android::gralloc4::ChromaSiting_None);
    EXPECT_EQ(buffer.value<T::DATASPACE>(), Dataspace::UNKNOWN);
    EXPECT_EQ(buffer.value<T::BLEND_MODE>(), BlendMode::INVALID);
    for (const int64_t type : {19, 20, 21, 22}) {
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, nullptr, 0), 0) << type;
    }
    EXPECT_EQ(buffer.bytes(100), Bytes(64));
    EXPECT_EQ(buffer.bytes(110), Bytes(8));
}

TEST(Metadata, BufferIdIsTheBuffersAndNoOthers) {
    std::set<uint64_t> ids;
    for (int i = 0; i < 10; ++i) {
        const RawBuffer raw(describe(0x1, 64, 64));
        const Import first(raw.raw()), second(raw.raw());
        EXPECT_EQ(first.value<T::BUFFER_ID>(), second.value<T::BUFFER_ID>());
        ids.insert(*first.value<T::BUFFER_ID>());
    }
    EXPECT_EQ(ids.size(), 10U);
}

}  // namespace
}  // namespace zelkcam::test
