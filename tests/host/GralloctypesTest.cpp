// The gralloc 4 metadata helpers: the bytes are those of the stable-C encoder, and no bytes of
// another process get past the decoders.
#include <algorithm>
#include <climits>

#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>
#include <gralloctypes/Gralloc4.h>
#include <gtest/gtest.h>

namespace {

using namespace android::gralloc4;
namespace V5 = android::hardware::graphics::mapper;

using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::Rect;
using aidl::android::hardware::graphics::common::Smpte2086;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::BAD_VALUE;
using android::NO_ERROR;
using android::status_t;
using android::hardware::graphics::mapper::V4_0::IMapper;
using Blob = std::vector<uint8_t>;
using Bytes = android::hardware::hidl_vec<uint8_t>;
using Planes = std::vector<PlaneLayout>;

template <StandardMetadataType TYPE, typename T>
Blob stableBytes(const T& value) {
    using Stable = typename V5::StandardMetadata<TYPE>::value;
    Blob bytes(static_cast<size_t>(Stable::encode(value, nullptr, 0)));
    EXPECT_EQ(Stable::encode(value, bytes.data(), bytes.size()), static_cast<int>(bytes.size()));
    return bytes;
}

// One value both ways, and no way with its bytes cut, spoilt or followed by more. What a failure
// leaves differs: lists and extendable values are emptied, all others keep what they held; a number
// or text that was complete is stored.
template <typename T, typename Argument>
void check(const char* name, status_t (*encode)(Argument, Bytes*),
           status_t (*decode)(const Bytes&, T*), const T& value, const Blob& expected) {
    SCOPED_TRACE(name);
    constexpr bool isScalar = !std::is_class_v<T> || std::is_same_v<T, std::string>;
    constexpr bool isOptional = requires { value.has_value(); };
    Bytes bytes;
    ASSERT_EQ(encode(value, &bytes), NO_ERROR);
    EXPECT_EQ(Blob(bytes), expected);
    EXPECT_EQ(encode(value, nullptr), BAD_VALUE);
    EXPECT_EQ(decode(bytes, nullptr), BAD_VALUE);
    T decoded{};
    EXPECT_EQ(decode(bytes, &decoded), NO_ERROR);
    EXPECT_EQ(decoded, value);

    std::vector<Blob> wrong(3, expected);
    wrong[0].pop_back();
    wrong[1][8] ^= 0x40;   // the header's name
    wrong[2][61] ^= 0x40;  // and its number
    for (const Blob& each : wrong) {
        decoded = value;
        EXPECT_EQ(decode(each, &decoded), BAD_VALUE);
        EXPECT_EQ(decoded, isScalar || isOptional ? value : T());
    }
    Blob longer = expected;
    longer.push_back(0);
    decoded = T();
    EXPECT_EQ(decode(longer, &decoded), BAD_VALUE);
    EXPECT_EQ(decoded, isScalar ? value : T());
}

#define CHECK(NAME, TYPE, ...)                            \
    check(#NAME, encode##NAME, decode##NAME, __VA_ARGS__, \
          stableBytes<StandardMetadataType::TYPE>(__VA_ARGS__))

TEST(Gralloc4, SharesItsBytesWithTheStableCMapper) {
    CHECK(Name, NAME, std::string("preview"));
    CHECK(PixelFormatFourCC, PIXEL_FORMAT_FOURCC, uint32_t{0x3231564e});
    CHECK(Interlaced, INTERLACED, Interlaced_RightLeft);
    CHECK(Crop, CROP, std::vector<Rect>{{0, -1, 1920, INT_MAX}, {}});
    CHECK(Smpte2086, SMPTE2086,
          std::optional<Smpte2086>{
                  {{.68f, .32f}, {.265f, .69f}, {.15f, .06f}, {.3f, .3f}, 1e3f, 0}});
    CHECK(Smpte2094_40, SMPTE2094_40, std::optional<Blob>{{1, 2, 3}});

    check("Usage", encodeUsage, decodeUsage, uint64_t{1} << 63 | 3,
          stableBytes<StandardMetadataType::USAGE>(static_cast<V5::BufferUsage>(INT64_MIN | 3)));
}

TEST(Gralloc4, PlaneLayoutsShareTheirBytesAndAppend) {
    Planes planes = {2,
                     {{{PlaneLayoutComponentType_Y, 0, 8}}, 9, 8, 1984, 1920, 1080, 2142720, 1, 2}};
    planes[1].components.push_back({{"vendor", -7}, 8, -1});
    planes[1].strideInBytes = -1984;
    const Blob expected = stableBytes<StandardMetadataType::PLANE_LAYOUTS>(planes);
    Bytes bytes;
    ASSERT_EQ(encodePlaneLayouts(planes, &bytes), NO_ERROR);
    EXPECT_EQ(Blob(bytes), expected);
    EXPECT_EQ(encodePlaneLayouts(planes, nullptr), BAD_VALUE);

    Planes decoded{planes[1]};
    EXPECT_EQ(decodePlaneLayouts(bytes, &decoded), NO_ERROR);
    EXPECT_EQ(decoded, (Planes{planes[1], planes[0], planes[1]}));

    decoded.clear();
    EXPECT_EQ(decodePlaneLayouts(Blob(expected.begin(), expected.end() - 1), &decoded), BAD_VALUE);
    EXPECT_EQ(decoded, Planes{planes[0]}) << "whole planes stay";
    Blob longer = expected;
    longer.push_back(0);
    EXPECT_EQ(decodePlaneLayouts(longer, &decoded), BAD_VALUE);
    EXPECT_TRUE(decoded.empty()) << "cleared, what was there before as well";
}

// Of planes it is an error, as the fuzzer sees.
TEST(Gralloc4, ANegativeCountIsAnEmptyBlob) {
    Blob blobBytes = stableBytes<StandardMetadataType::SMPTE2094_40>(std::optional<Blob>{Blob()});
    std::fill(blobBytes.end() - 8, blobBytes.end(), 0xff);
    std::optional<Blob> blob;
    EXPECT_EQ(decodeSmpte2094_40(blobBytes, &blob), NO_ERROR);
    EXPECT_EQ(blob, Blob());
}

TEST(Gralloc4, APlaneHasAtMostTenThousandComponents) {
    for (const size_t count : {10000, 10001}) {
        PlaneLayout plane;
        plane.components.resize(count);
        Bytes bytes;
        ASSERT_EQ(encodePlaneLayouts({plane}, &bytes), NO_ERROR);
        Planes planes;
        EXPECT_EQ(decodePlaneLayouts(bytes, &planes), count == 10000 ? NO_ERROR : BAD_VALUE);
    }
}

TEST(Gralloc4, AbsentOptionalsHaveNoBytes) {
    Bytes bytes{1, 2};
    EXPECT_EQ(encodeCta861_3(std::nullopt, &bytes), NO_ERROR);
    EXPECT_EQ(bytes, (Bytes{1, 2})) << "left as it was";
    EXPECT_EQ(encodeCta861_3(std::nullopt, nullptr), NO_ERROR);
    std::optional<Blob> blob = Blob{1};
    EXPECT_EQ(decodeSmpte2094_40(Bytes(), &blob), NO_ERROR);
    EXPECT_EQ(blob, std::nullopt);
}

}  // namespace
