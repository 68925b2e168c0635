#include "tests/plexa/ScriptedBuffer.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::common::BufferUsage;
using aidl::android::hardware::graphics::common::PixelFormat;
using Type = StandardMetadataType;
using Calls = std::vector<std::string>;

// A slot as callers offer it, twice as wide as a number and filled with what nobody writes.
struct Slot {
    uint32_t number = 0x5a5a5a5a;
    uint32_t beyond = 0x5a5a5a5a;

    bool isUntouched() const { return number == 0x5a5a5a5a && beyond == 0x5a5a5a5a; }
};

class AttributeTest : public ScriptedBufferTest {
  protected:
    AttributeTest() {
        describe<Type::WIDTH>(uint64_t{1920});
        describe<Type::HEIGHT>(uint64_t{1080});
        describe<Type::STRIDE>(uint32_t{1984});
        describe<Type::ALLOCATION_SIZE>(uint64_t{0xc0000000});
        describe<Type::PIXEL_FORMAT_REQUESTED>(PixelFormat::YCRCB_420_SP);
        describe<Type::USAGE>(static_cast<BufferUsage>(0xff01'0000'8002'0033));
        describeFirstPlane(1984, 1984 * 1088, 1080);
    }

    static void describeFirstPlane(int64_t stride, int64_t size, int64_t height) {
        PlaneLayout first = plane(0, 8, stride, {component(PlaneLayoutComponentType::Y, 0)});
        first.totalSizeInBytes = size;
        first.heightInSamples = height;
        describePlanes({first, plane(size, 16, 7, {})});
    }

    std::optional<uint32_t> read(int attribute) const {
        Slot slot;
        const int result = plexa_query(handle(), attribute, &slot);
        EXPECT_EQ(slot.beyond, 0x5a5a5a5au) << "more than four bytes written";
        EXPECT_TRUE(result == 0 || slot.isUntouched()) << "written though the read failed";
        return result == 0 ? std::optional(slot.number) : std::nullopt;
    }
};

TEST_F(AttributeTest, EachComesFromOneReadInFourBytes) {
    const struct {
        int attribute;
        uint32_t value;
        Calls calls;
    } kCases[] = {
            {PLEXA_GET_WIDTH, 1920, {"getStandardMetadata 3 512"}},
            {PLEXA_GET_HEIGHT, 1080, {"getStandardMetadata 4 512"}},
            {PLEXA_GET_STRIDE, 1984, {"getMetadata 12", "getStandardMetadata 23 512"}},
            {PLEXA_GET_VERTICAL_STRIDE, 1088, {"getMetadata 13", "getStandardMetadata 15 512"}},
            {PLEXA_GET_ALLOC_SIZE, 0xc0000000, {"getMetadata 14", "getStandardMetadata 10 512"}},
            {PLEXA_GET_FORMAT, 0x11, {"getMetadata 15", "getStandardMetadata 6 512"}},
            {PLEXA_GET_USAGE, 0x80020033, {"getStandardMetadata 9 512"}},
            {PLEXA_GET_BUFFER_FLAGS, 0, {"getMetadata 52"}},
            {PLEXA_GET_ION_FD, 41, {}},
    };
    for (const auto& expected : kCases) {
        journal().take();
        EXPECT_EQ(read(expected.attribute), expected.value) << "attribute " << expected.attribute;
        EXPECT_EQ(journal().take(), expected.calls) << "attribute " << expected.attribute;
    }
}

TEST_F(AttributeTest, AFormatLeftToTheAllocatorComesFromTheFourcc) {
    const struct {
        int32_t requested;
        uint32_t fourcc;
        uint32_t format;
    } kCases[] = {
            {0x22, 0x3231564e, 0x1000},      // NV12
            {0x23, 0x3132564e, 0x11},        // NV21
            {0x23, 0x32315659, 0x32315659},  // YV12
            {0x22, 0x51504f43, 0x111},       // COPQ
            {0x22, 0x20203852, 0x22},        // R8: more than one format
            {0x23, 0, 0x23},
            {0x11, 0x3231564e, 0x11},  // asked for by name: the fourcc is nobody's business
    };
    for (const auto& expected : kCases) {
        describe<Type::PIXEL_FORMAT_REQUESTED>(static_cast<PixelFormat>(expected.requested));
        describe<Type::PIXEL_FORMAT_FOURCC>(expected.fourcc);
        EXPECT_EQ(read(PLEXA_GET_FORMAT), expected.format) << std::hex << expected.fourcc;
    }
    describe<Type::PIXEL_FORMAT_REQUESTED>(PixelFormat::IMPLEMENTATION_DEFINED);
    journal().take();
    read(PLEXA_GET_FORMAT);
    EXPECT_EQ(journal().take(),
              (Calls{"getMetadata 15", "getStandardMetadata 6 512", "getStandardMetadata 7 512"}));
    mapperScript().metadata.erase(7);
    EXPECT_EQ(read(PLEXA_GET_FORMAT), std::nullopt);
}

TEST_F(AttributeTest, WhatTheMapperKeepsForTheExtensionCountsFirst) {
    const std::vector<uint8_t> bytes = {0x04, 0x0c, 0xa3, 0x7f, 0};
    const std::pair<int, uint32_t> kAttributes[] = {{PLEXA_GET_FORMAT, 0x11},
                                                    {PLEXA_GET_STRIDE, 1984},
                                                    {PLEXA_GET_VERTICAL_STRIDE, 1088},
                                                    {PLEXA_GET_ALLOC_SIZE, 0xc0000000},
                                                    {PLEXA_GET_BUFFER_FLAGS, 0}};
    for (const auto& [attribute, read] : kAttributes) {
        auto& kept = mapperScript().notes.values[{"zelkcam.plexa.BufferAttribute", attribute}];
        kept.assign(bytes.begin(), bytes.end() - 1);
        EXPECT_EQ(AttributeTest::read(attribute), 0x7fa30c04u);
        kept = bytes;
        EXPECT_EQ(AttributeTest::read(attribute), read) << "no 32 bits";
    }
}

TEST_F(AttributeTest, RowsAreThoseThatTheFirstPlaneHasRoomFor) {
    const struct {
        int64_t stride, size, height;
        std::optional<uint32_t> rows;
    } kCases[] = {
            {0, 1984 * 1088, 1080, 1080},  // without a length of row, the plane's height
            {-1984, 1984 * 1088, 1080, 1080},
            {1, 0x1'0000'0000, 0, {}},
            {1984, -1984 * 2, 1080, {}},
    };
    for (const auto& expected : kCases) {
        describeFirstPlane(expected.stride, expected.size, expected.height);
        EXPECT_EQ(read(PLEXA_GET_VERTICAL_STRIDE), expected.rows) << expected.stride;
    }
    describePlanes({});
    EXPECT_EQ(read(PLEXA_GET_VERTICAL_STRIDE), 1080u) << "no plane described: what was asked for";
}

TEST_F(AttributeTest, PlanesThatExceedTheFirstReadAreReadOnceMore) {
    std::vector<PlaneLayout> planes(7, plane(0, 8, 100, {}));
    planes[0].totalSizeInBytes = 4000;
    const std::vector<uint8_t> bytes = encoded(planes);
    const auto exact = static_cast<int32_t>(bytes.size());
    ASSERT_GT(exact, 512);
    const std::tuple<int32_t, int32_t, std::optional<uint32_t>, size_t> kCases[] = {
            {exact, exact, 40, 3}, {exact, exact + 1, {}, 3},  // grew in between
            {exact, -2, {}, 3},    {65537, exact, {}, 2},     {INT32_MIN, exact, {}, 2},
    };
    for (const auto& [first, second, rows, calls] : kCases) {
        mapperScript().getMetadata = [&, answers = std::pair(first, second)](int64_t, void* out,
                                                                             size_t size) {
            memcpy(out, bytes.data(), std::min(bytes.size(), size));
            return size > 512 ? answers.second : answers.first;
        };
        journal().take();
        EXPECT_EQ(read(PLEXA_GET_VERTICAL_STRIDE), rows) << first;
        EXPECT_EQ(journal().take().size(), calls) << first << ", and what is kept";
    }
}

TEST_F(AttributeTest, ANumberBeyondThirtyTwoBitsIsAFailure) {
    describe<Type::WIDTH>(uint64_t{0xffffffff});
    EXPECT_EQ(read(PLEXA_GET_WIDTH), 0xffffffff);
    describe<Type::WIDTH>(uint64_t{0x1'0000'0000});
    EXPECT_EQ(read(PLEXA_GET_WIDTH), std::nullopt);
}

TEST_F(AttributeTest, WhatTheMapperDoesNotAnswerIsAFailure) {
    // All but the flags and the descriptor.
    const int kAnswered[] = {10, 11, 12, 13, 14, 15, 17};
    // Refusals, an absent value, a cut value, and a whole answer of nothing but zeros.
    for (const int32_t answer : {-2, -3, -5, -7, INT32_MIN, 0, 68, 72, 77, 512}) {
        mapperScript().getMetadata = [=](int64_t, void*, size_t) { return answer; };
        for (const int attribute : kAnswered) {
            EXPECT_EQ(read(attribute), std::nullopt) << answer << ", attribute " << attribute;
        }
    }
}

TEST_F(AttributeTest, UnusableArgumentsAreRefusedBeforeTheMapper) {
    Slot slot;
    for (const int code : {0, 2, 9, 16, 18, 51, 53, 99, 101, 111, -1, INT32_MIN}) {
        EXPECT_NE(plexa_query(handle(), code, &slot), 0) << code;
        EXPECT_NE(plexa_perform(handle(), code, &slot), 0) << code;
    }
    for (const int code : {PLEXA_GET_ION_FD + 0, PLEXA_GET_WIDTH + 0, PLEXA_GET_SF_INFO + 0}) {
        EXPECT_NE(plexa_query(nullptr, code, &slot), 0) << code;
        EXPECT_NE(plexa_query(handle(), code, nullptr), 0) << code;
    }
    for (const int code : {PLEXA_SET_SF_INFO + 0, PLEXA_SET_SOF + 0}) {
        EXPECT_NE(plexa_perform(nullptr, code, &slot), 0) << code;
        EXPECT_NE(plexa_perform(handle(), code, nullptr), 0) << code;
    }
    EXPECT_NE(plexa_query(handle(), PLEXA_SET_SOF, &slot), 0) << "a stamp is not read back";
    const native_handle_t none{.version = 12, .numFds = 0, .numInts = 0, .data = {}};
    EXPECT_NE(plexa_query(&none, PLEXA_GET_ION_FD, &slot), 0);
    EXPECT_TRUE(slot.isUntouched());
    EXPECT_EQ(journal().take(), Calls{});
}

}  // namespace
}  // namespace zelkcam::test
