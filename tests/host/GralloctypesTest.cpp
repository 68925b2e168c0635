// The gralloc 4 metadata helpers: the bytes are those of the stable-C encoder, and no bytes of
// another process get past the decoders.
#include <climits>
#include <cstring>

#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>
#include <gralloctypes/Gralloc4.h>
#include <gtest/gtest.h>

namespace {

using namespace android::gralloc4;
namespace V5 = android::hardware::graphics::mapper;

using aidl::android::hardware::graphics::common::BlendMode;
using aidl::android::hardware::graphics::common::Cta861_3;
using aidl::android::hardware::graphics::common::Dataspace;
using aidl::android::hardware::graphics::common::ExtendableType;
using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::Rect;
using aidl::android::hardware::graphics::common::Smpte2086;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::BAD_VALUE;
using android::NO_ERROR;
using android::status_t;
using android::hardware::graphics::common::V1_2::PixelFormat;
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

// One value both ways, and no way with its bytes cut, spoilt or followed by more.
template <typename T, typename Argument>
void check(const char* name, status_t (*encode)(Argument, Bytes*),
           status_t (*decode)(const Bytes&, T*), const T& value, const Blob& expected) {
    SCOPED_TRACE(name);
    Bytes bytes;
    ASSERT_EQ(encode(value, &bytes), NO_ERROR);
    EXPECT_EQ(Blob(bytes), expected);
    EXPECT_EQ(encode(value, nullptr), BAD_VALUE);
    T decoded{};
    EXPECT_EQ(decode(bytes, &decoded), NO_ERROR);
    EXPECT_EQ(decoded, value);
    EXPECT_EQ(decode(bytes, nullptr), BAD_VALUE);

    std::vector<Blob> wrong(4, expected);
    wrong[0].pop_back();
    wrong[1].push_back(0);
    wrong[2][8] ^= 0x40;   // the header's name
    wrong[3][60] ^= 0x40;  // and its number
    for (const Blob& each : wrong) {
        EXPECT_EQ(decode(each, &decoded), BAD_VALUE);
    }
    if constexpr (std::is_class_v<T>) {
        EXPECT_EQ(decoded, T()) << "emptied";
    }
}

#define CHECK(NAME, TYPE, ...)                            \
    check(#NAME, encode##NAME, decode##NAME, __VA_ARGS__, \
          stableBytes<StandardMetadataType::TYPE>(__VA_ARGS__))

TEST(Gralloc4, SharesItsBytesWithTheStableCMapper) {
    CHECK(BufferId, BUFFER_ID, uint64_t{0xfedcba9876543210});
    CHECK(Name, NAME, std::string("preview"));
    CHECK(Width, WIDTH, uint64_t{1920});
    CHECK(Height, HEIGHT, uint64_t{1080});
    CHECK(LayerCount, LAYER_COUNT, uint64_t{1});
    CHECK(PixelFormatFourCC, PIXEL_FORMAT_FOURCC, uint32_t{0x3231564e});
    CHECK(PixelFormatModifier, PIXEL_FORMAT_MODIFIER, UINT64_MAX);
    CHECK(AllocationSize, ALLOCATION_SIZE, uint64_t{3} << 32);
    CHECK(ProtectedContent, PROTECTED_CONTENT, uint64_t{1});
    CHECK(Compression, COMPRESSION, Compression_DisplayStreamCompression);
    CHECK(Interlaced, INTERLACED, Interlaced_RightLeft);
    CHECK(ChromaSiting, CHROMA_SITING, ExtendableType{"", INT64_MIN});
    CHECK(Crop, CROP, std::vector<Rect>{{0, -1, 1920, INT_MAX}, {}});
    CHECK(Dataspace, DATASPACE, Dataspace::BT2020_ITU_PQ);
    CHECK(BlendMode, BLEND_MODE, BlendMode::COVERAGE);
    CHECK(Smpte2086, SMPTE2086,
          std::optional<Smpte2086>{
                  {{.68f, .32f}, {.265f, .69f}, {.15f, .06f}, {.3f, .3f}, 1e3f, 0}});
    CHECK(Cta861_3, CTA861_3, std::optional<Cta861_3>{{1000.f, 400.f}});
    CHECK(Smpte2094_40, SMPTE2094_40, std::optional<Blob>{{1, 2, 3}});
    CHECK(Smpte2094_10, SMPTE2094_10, std::optional<Blob>{Blob()});

    check("PixelFormatRequested", encodePixelFormatRequested, decodePixelFormatRequested,
          PixelFormat::YV12,
          stableBytes<StandardMetadataType::PIXEL_FORMAT_REQUESTED>(V5::PixelFormat::YV12));
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

    // The second plane begins where a list of the first alone ends.
    const size_t second =
            stableBytes<StandardMetadataType::PLANE_LAYOUTS>(Planes{planes[0]}).size();
    for (size_t size = 0; size < expected.size(); ++size) {
        decoded.clear();
        const Blob cut(expected.begin(), expected.begin() + size);
        EXPECT_EQ(decodePlaneLayouts(cut, &decoded), BAD_VALUE);
        EXPECT_EQ(decoded.size(), size < second ? 0 : 1) << "whole planes stay, cut to " << size;
    }
    Blob longer = expected;
    longer.push_back(0);
    EXPECT_EQ(decodePlaneLayouts(longer, &decoded), BAD_VALUE);
    EXPECT_TRUE(decoded.empty()) << "cleared, what was there before as well";
}

// Bytes of PLANE_LAYOUTS up to and with the number of planes, then numbers of eight bytes.
Blob planeBytes(std::initializer_list<int64_t> numbers) {
    Blob bytes = stableBytes<StandardMetadataType::PLANE_LAYOUTS>(Planes());
    bytes.resize(69);
    for (const int64_t number : numbers) {
        const auto* raw = reinterpret_cast<const uint8_t*>(&number);
        bytes.insert(bytes.end(), raw, raw + sizeof(number));
    }
    return bytes;
}

TEST(Gralloc4, CountsThatCannotBeAreRefusedWithoutMemoryForThem) {
    const struct {
        const char* what;
        Blob bytes;
    } cases[] = {
            {"no bytes", {}},
            {"negative planes", planeBytes({-1})},
            {"most negative planes", planeBytes({INT64_MIN})},
            {"planes without end", planeBytes({INT64_MAX})},
            {"negative components", planeBytes({1, -1, 0, 0, 0, 0, 0, 0, 0, 0})},
            {"components without end", planeBytes({1, INT64_MAX, 0, 0, 0, 0, 0, 0, 0, 0})},
            {"name longer than the bytes", planeBytes({1, 1, 1 << 30, 0, 0, 0})},
            {"negative name", planeBytes({1, 1, -1, 0, 0, 0})},
    };
    for (const auto& [what, bytes] : cases) {
        Planes planes;
        EXPECT_EQ(decodePlaneLayouts(bytes, &planes), BAD_VALUE) << what;
        EXPECT_EQ(planes.capacity(), 0u) << what;
    }
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
    std::optional<Blob> blob = Blob{1};
    EXPECT_EQ(decodeSmpte2094_40(Bytes(), &blob), NO_ERROR);
    EXPECT_EQ(blob, std::nullopt);
}

TEST(Gralloc4, PlainValuesCarryTheirOwnTypesHeader) {
    const IMapper::MetadataType stride{GRALLOC4_STANDARD_METADATA_TYPE,
                                       static_cast<int64_t>(StandardMetadataType::STRIDE)};
    Bytes bytes;
    ASSERT_EQ(encodeUint32(stride, 1984, &bytes), NO_ERROR);
    EXPECT_EQ(Blob(bytes), stableBytes<StandardMetadataType::STRIDE>(uint32_t{1984}));
    uint32_t number = 0;
    EXPECT_EQ(decodeUint32(stride, bytes, &number), NO_ERROR);
    EXPECT_EQ(number, 1984u);
    EXPECT_EQ(decodeUint32({stride.name, 24}, bytes, &number), BAD_VALUE);
    EXPECT_EQ(decodeUint32({"vendor", stride.value}, bytes, &number), BAD_VALUE);
}

TEST(Gralloc4, BufferDescriptionsHaveNoHeader) {
    const IMapper::BufferDescriptorInfo info{"cam", 64, 48, 1, PixelFormat::RAW10, 1ull << 63, 5};
    const Blob expected = {3,  0, 0, 0, 0,    0, 0, 0, 'c',  'a', 'm', 64, 0, 0, 0,
                           48, 0, 0, 0, 1,    0, 0, 0, 0x25, 0,   0,   0,  0, 0, 0,
                           0,  0, 0, 0, 0x80, 5, 0, 0, 0,    0,   0,   0,  0};
    Bytes bytes;
    ASSERT_EQ(encodeBufferDescriptorInfo(info, &bytes), NO_ERROR);
    EXPECT_EQ(Blob(bytes), expected);
    IMapper::BufferDescriptorInfo decoded;
    ASSERT_EQ(decodeBufferDescriptorInfo(bytes, &decoded), NO_ERROR);
    EXPECT_EQ(decoded, info);

    for (auto end = expected.begin(); end != expected.end(); ++end) {
        EXPECT_EQ(decodeBufferDescriptorInfo(Blob(expected.begin(), end), &decoded), BAD_VALUE);
    }
    bytes.resize(bytes.size() + 1);
    EXPECT_EQ(decodeBufferDescriptorInfo(bytes, &decoded), BAD_VALUE);
    EXPECT_EQ(decoded, info) << "untouched by failures";
}

TEST(Gralloc4, EveryBeginningOfAStandardNameCountsAsStandard) {
    const std::string standard = GRALLOC4_PLANE_LAYOUT_COMPONENT_TYPE;
    for (size_t length = 0; length <= standard.size(); ++length) {
        EXPECT_TRUE(isStandardPlaneLayoutComponentType({standard.substr(0, length), -5}));
    }
    for (const std::string& name : {standard + "s", std::string("Android"), std::string("x")}) {
        EXPECT_FALSE(isStandardPlaneLayoutComponentType({name, 1})) << name;
    }
}

}  // namespace
