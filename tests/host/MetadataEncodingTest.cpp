// The bytes of standard metadata: what goes over the mapper's interface, and what a hostile process
// may put there.
#include <algorithm>
#include <cstring>
#include <limits>

#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>
#include <gtest/gtest.h>

namespace {

using namespace android::hardware::graphics::mapper;
using Type = StandardMetadataType;

// Encoded as they have to be, spelt out low byte first.
class Encoded {
  public:
    Encoded& i64(int64_t value) { return number(static_cast<uint64_t>(value), 8); }
    Encoded& i32(int32_t value) { return number(static_cast<uint32_t>(value), 4); }
    Encoded& text(const std::string& value) {
        i64(static_cast<int64_t>(value.size()));
        mBytes.insert(mBytes.end(), value.begin(), value.end());
        return *this;
    }
    static Encoded header(Type type) {
        return Encoded()
                .text("android.hardware.graphics.common.StandardMetadataType")
                .i64(static_cast<int64_t>(type));
    }
    Encoded& component(const std::string& name, int64_t value, int64_t offset, int64_t size) {
        return text(name).i64(value).i64(offset).i64(size);
    }
    const std::vector<uint8_t>& get() const { return mBytes; }

  private:
    Encoded& number(uint64_t value, int size) {
        for (int i = 0; i < size; ++i) {
            mBytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
        }
        return *this;
    }
    std::vector<uint8_t> mBytes;
};

template <Type T>
std::vector<uint8_t> encode(const typename StandardMetadata<T>::value_type& value) {
    const int32_t size = StandardMetadata<T>::value::encode(value, nullptr, 0);
    std::vector<uint8_t> bytes(static_cast<size_t>(std::max(size, 0)));
    EXPECT_EQ(size, StandardMetadata<T>::value::encode(value, bytes.data(), bytes.size()));
    return bytes;
}

template <Type T>
auto decode(const std::vector<uint8_t>& bytes) {
    return StandardMetadata<T>::value::decode(bytes.data(), bytes.size());
}

PlaneLayoutComponent component(const std::string& name, int64_t value, int64_t offset,
                               int64_t size) {
    return {{name, value}, offset, size};
}

const std::vector<PlaneLayout> kPlanes = {
        {{component("ab", 1, 0, 8)}, 0, 8, 1920, 1900, 1080, 2073600, 1, 1},
        {{component("c", 4, 0, 8), component("", 2, 8, 8)},
         2073600,
         16,
         -1920,
         950,
         540,
         1036800,
         2,
         2}};

// The HDR kinds' bytes are spelt out where the library sets them.
TEST(MetadataEncoding, BytesAreTheInterfacesOwn) {
    EXPECT_EQ(Encoded::header(Type::WIDTH).i64(4032).get(), encode<Type::WIDTH>(4032));
    EXPECT_EQ(Encoded::header(Type::STRIDE).i32(-1).get(), encode<Type::STRIDE>(0xffffffff));
    EXPECT_EQ(Encoded::header(Type::USAGE).i64(-0x1000000000000).get(),
              encode<Type::USAGE>(BufferUsage::VENDOR_MASK_HI));
    EXPECT_EQ(Encoded::header(Type::NAME).text("a b").get(), encode<Type::NAME>("a b"));
    EXPECT_EQ(Encoded::header(Type::CHROMA_SITING).text("n").i64(3).get(),
              encode<Type::CHROMA_SITING>({"n", 3}));
    EXPECT_EQ(Encoded::header(Type::CROP).i64(1).i32(1).i32(2).i32(3).i32(-4).get(),
              encode<Type::CROP>({{1, 2, 3, -4}}));
}

TEST(MetadataEncoding, PlaneLayoutsKeepTheirOrderOfFields) {
    Encoded expected = Encoded::header(Type::PLANE_LAYOUTS).i64(2);
    expected.i64(1).component("ab", 1, 0, 8);
    for (int64_t field : {0, 8, 1920, 1900, 1080, 2073600, 1, 1}) {
        expected.i64(field);
    }
    expected.i64(2).component("c", 4, 0, 8).component("", 2, 8, 8);
    for (int64_t field : {2073600, 16, -1920, 950, 540, 1036800, 2, 2}) {
        expected.i64(field);
    }
    EXPECT_EQ(expected.get(), encode<Type::PLANE_LAYOUTS>(kPlanes));
}

// Encoded that end early are no value, and a destination that is too small holds a prefix or
// nothing: later, smaller pieces must not land in the gap.
template <Type T>
void expectWholeOrNothing(const typename StandardMetadata<T>::value_type& sample) {
    const std::vector<uint8_t> whole = encode<T>(sample);
    for (size_t room = 0; room < whole.size(); ++room) {
        const auto part = StandardMetadata<T>::value::decode(whole.data(), room);
        constexpr bool isOptional = T >= Type::SMPTE2086 && T <= Type::SMPTE2094_10;
        EXPECT_EQ(isOptional && room == 0, part.has_value()) << toString(T) << " of " << room;

        std::vector<uint8_t> destination(whole.size(), 0xee);
        EXPECT_EQ(static_cast<int32_t>(whole.size()),
                  StandardMetadata<T>::value::encode(sample, destination.data(), room));
        const auto end = std::mismatch(whole.begin(), whole.end(), destination.begin()).second;
        EXPECT_LE(end - destination.begin(), static_cast<ptrdiff_t>(room)) << toString(T);
        EXPECT_TRUE(std::all_of(end, destination.end(), [](uint8_t b) { return b == 0xee; }));
    }
    std::vector<uint8_t> longer = whole;
    longer.push_back(0x55);  // what comes after it is ignored
    EXPECT_EQ(sample, decode<T>(longer));
}

TEST(MetadataEncoding, ValuesComeAndGoWholeOrNotAtAll) {
    expectWholeOrNothing<Type::NAME>("camera preview");
    expectWholeOrNothing<Type::DATASPACE>(Dataspace::JFIF);
    expectWholeOrNothing<Type::INTERLACED>({"vendor.Interlaced", -7});
    expectWholeOrNothing<Type::PLANE_LAYOUTS>(kPlanes);
    expectWholeOrNothing<Type::CROP>({{0, 1, 1920, 1080}, {-4, 0, 960, 540}});
    expectWholeOrNothing<Type::SMPTE2086>(
            Smpte2086{{0.5f, 1.f}, {2.f, 3.f}, {4.f, 5.f}, {6.f, 7.f}, 1000.f, 0.25f});
    expectWholeOrNothing<Type::SMPTE2094_40>(std::vector<uint8_t>{0xb5, 0, 0x3c});
}

template <Type T>
void expectCountRefused(Encoded header, int64_t count) {
    std::vector<uint8_t> bytes = header.i64(count).get();
    bytes.resize(bytes.size() + 200);
    EXPECT_FALSE(decode<T>(bytes).has_value()) << toString(T) << " of count " << count;
}

TEST(MetadataDecoding, CountsBeyondTheBytesAreRefusedWithoutAllocating) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    // Memory for the larger ones cannot be had. Multiplied by the size of an element, some wrap
    // round to a small number.
    for (const int64_t count : {int64_t{-1}, -kMax - 1, kMax, int64_t{1} << 60, int64_t{1} << 61,
                                int64_t{1} << 45, (int64_t{1} << 45) + 1, int64_t{201}}) {
        expectCountRefused<Type::NAME>(Encoded::header(Type::NAME), count);
        expectCountRefused<Type::SMPTE2094_40>(Encoded::header(Type::SMPTE2094_40), count);
        expectCountRefused<Type::CROP>(Encoded::header(Type::CROP), count);
        expectCountRefused<Type::PLANE_LAYOUTS>(Encoded::header(Type::PLANE_LAYOUTS), count);
        expectCountRefused<Type::PLANE_LAYOUTS>(Encoded::header(Type::PLANE_LAYOUTS).i64(1), count);
    }
}

}  // namespace
