// The HDR metadata of a buffer: bytes, failures, and what a caller's memory sees.
#include "tests/backends/BackendTest.h"

namespace zelkcam::test {

namespace {

using namespace NSCam::GrallocMapperAidlV2;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Bytes = std::vector<uint8_t>;

template <typename T>
void append(Bytes& bytes, T value) {
    const auto* const first = reinterpret_cast<const uint8_t*>(&value);
    bytes.insert(bytes.end(), first, first + sizeof(value));
}

// The header that every value starts with.
Bytes header(int64_t type) {
    constexpr std::string_view kName = "android.hardware.graphics.common.StandardMetadataType";
    Bytes bytes;
    append<int64_t>(bytes, 53);
    bytes.insert(bytes.end(), kName.begin(), kName.end());
    append(bytes, type);
    return bytes;
}

// Floats that do not survive a detour: a signalling NaN with a payload, -0, denormals, infinities.
constexpr uint32_t kOddFloats[] = {0x7F812345, 0x80000000, 0x00000001, 0x807FFFFF, 0x7F800000,
                                   0xFF800000, 0xFFFFFFFF, 0x3F800000, 0x7FC00001, 0x00000000};

Bytes floats(int64_t type, size_t count) {
    Bytes bytes = header(type);
    for (size_t i = 0; i < count; ++i)
        append(bytes, kOddFloats[i]);
    return bytes;
}

Bytes payload(int64_t type, const Bytes& data) {
    Bytes bytes = header(type);
    append<int64_t>(bytes, static_cast<int64_t>(data.size()));
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

class HdrMetadataTest : public BackendTest {
  protected:
    int set(int kind, const void* data, unsigned size, const native_handle* handle) {
        return mapper->setGrallocMeta(handle, static_cast<GRALLOC_STANDARD_METADATA_TYPE>(kind),
                                      const_cast<void*>(data), size);
    }
    int set(int kind, const void* data, unsigned size) { return set(kind, data, size, buffer); }
    int get(int kind, void* data, unsigned size, const native_handle* handle) {
        return mapper->getGrallocMeta(handle, static_cast<GRALLOC_STANDARD_METADATA_TYPE>(kind),
                                      data, size);
    }
    int get(int kind, void* data, unsigned size) { return get(kind, data, size, buffer); }
};

TEST_F(HdrMetadataTest, EveryKindIsWrittenInItsBytesAndTheMappersResultReturned) {
    const Bytes data = {0x01, 0xA5, 0x00};
    const Bytes nothing;
    const struct {
        int kind;
        const void* data;
        unsigned size;
        Bytes expected;
    } cases[] = {
            {0, kOddFloats, 40, floats(19, 10)},    {1, kOddFloats, 8, floats(20, 2)},
            {2, &data, 0, payload(21, data)},       {3, &data, 9999, payload(22, data)},
            {2, &nothing, 1, payload(21, nothing)},
    };
    for (const auto& c : cases)
        for (const int32_t result : {0, 7}) {
            mapperScript().setResult = result;
            EXPECT_EQ(set(c.kind, c.data, c.size), result);
            EXPECT_EQ(mapperScript().lastSet, c.expected) << c.kind;
            EXPECT_THAT(journal().take(),
                        ElementsAre("setStandardMetadata " + std::to_string(19 + c.kind) + " " +
                                            std::to_string(c.expected.size()),
                                    "flush"));
        }
    EXPECT_EQ(mapper->setStandardMetadata<StandardMetadataType::SMPTE2086>(buffer, std::nullopt),
              7);
    EXPECT_THAT(journal().take(), ElementsAre("setStandardMetadata 19 0", "flush"));
    EXPECT_EQ(floats(19, 10).size(), 109u);
    EXPECT_EQ(floats(20, 2).size(), 77u);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HdrMetadataTest, WhatWasWrittenIsReadBitForBit) {
    mapperScript().metadata = {{19, floats(19, 10)}, {20, floats(20, 2)}};
    uint32_t values[10] = {};
    EXPECT_EQ(get(0, values, 40), 0);
    EXPECT_THAT(values, ElementsAreArray(kOddFloats));
    memset(values, 0, sizeof(values));
    EXPECT_EQ(get(1, values, 8), 0);
    EXPECT_THAT(values, ElementsAre(kOddFloats[0], kOddFloats[1], 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(HdrMetadataTest, APayloadIsCopiedWholeAlsoOneOfMoreThan224Bytes) {
    for (const size_t size : {0, 3, 224, 435, 436, 1000}) {
        const Bytes data(size, 0xAB);
        mapperScript().metadata[21] = payload(21, data);
        Bytes room(1100, 0x55);
        EXPECT_EQ(get(2, room.data(), 224), 0);
        EXPECT_EQ(std::ranges::count(room, 0xAB), static_cast<ptrdiff_t>(size));
        EXPECT_EQ(room[size], 0x55);
        // What exceeds the first 512 bytes takes exactly one more read.
        EXPECT_EQ(journal().take().size(), size + 77 > 512 ? 4u : 2u);
    }
}

TEST_F(HdrMetadataTest, PointersAndSizesAreCheckedInOrderAndTold) {
    char data[300] = {};
    const auto told = [](const std::string& line) {
        EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 " + line));
    };
    for (const int kind : {-1, 0, 1, 2, 3, 4}) {
        EXPECT_EQ(set(kind, nullptr, 0, nullptr), 2);
        told("[setGrallocMeta] Null buffer handle");
        EXPECT_EQ(get(kind, nullptr, 0, nullptr), 2);
        told("[getGrallocMeta] Null buffer handle");
        EXPECT_EQ(set(kind, nullptr, 0), 3);
        told("[setGrallocMeta] Null data pointer");
        EXPECT_EQ(get(kind, nullptr, 0), 3);
        told("[getGrallocMeta] Null data pointer");
    }
    const struct {
        int kind;
        unsigned size;
        const char* text;
        bool bothWays;
    } sizes[] = {
            {0, 41, "data_size(41) != struct size of Smpte2086(40)", true},
            {0, 39, "data_size(39) != struct size of Smpte2086(40)", true},
            {1, 40, "data_size(40) != struct size of Cta861_3(8)", true},
            {1, 0xFFFFFFFF, "data_size(-1) != struct size of Cta861_3(8)", true},
            {2, 223, "data_size(223) != struct size of plexa_hdr10p_dynamic_metadata_t(224)",
             false},
    };
    for (const auto& c : sizes) {
        EXPECT_EQ(get(c.kind, data, c.size), 3);
        told(std::string("[getGrallocMeta] ") + c.text);
        if (!c.bothWays)
            continue;
        EXPECT_EQ(set(c.kind, data, c.size), 3);
        told(std::string("[setGrallocMeta] ") + c.text);
    }
    for (const int kind : {-1, 4, INT32_MAX}) {
        EXPECT_EQ(set(kind, data, 7), 0);
        EXPECT_EQ(get(kind, data, 7), 0);
    }
    EXPECT_EQ(get(3, data, 224), 0);
    EXPECT_THAT(journal().take(), IsEmpty()) << "the mapper was not called";
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HdrMetadataTest, EverythingElseAnswers0AlsoABufferWithoutSuchMetadataAndAMapperThatFails) {
    const std::string prefix = "E GrallocMapperAidlV2 [getStandardMetadata] ";
    const std::string refused = prefix +
                                "Received something other than UNSUPPORTED from valid "
                                "getStandardMetadata call";
    Bytes truncated = floats(19, 9), foreign = floats(20, 10), misnamed = floats(19, 10);
    misnamed[8] = 'A';
    const struct {
        std::vector<int32_t> answers;  // of the reads, in turn
        Bytes bytes;
        std::vector<std::string> log;
    } cases[] = {
            {{0}, {}, {}},
            {{-7}, {}, {}},
            {{-2}, {}, {refused}},
            {{105}, truncated, {}},
            {{109}, foreign, {}},
            {{109}, misnamed, {}},
            {{69}, header(19), {}},
            {{600, 601},
             {},
             {prefix + "Failed to get Gralloc StandardMetadataType (19) failed with 601"}},
            {{600, -7},
             {},
             {prefix + "Failed to get Gralloc StandardMetadataType (19) failed with -7"}},
    };
    for (const auto& c : cases) {
        size_t read = 0;
        mapperScript().getMetadata = [&](int64_t, void* destination, size_t) {
            memcpy(destination, c.bytes.data(), c.bytes.size());
            return c.answers.at(read++);
        };
        Bytes data(40, 0x55);
        EXPECT_EQ(get(0, data.data(), 40), 0);
        EXPECT_THAT(data, testing::Each(0x55));
        EXPECT_THAT(takeLog(), ElementsAreArray(c.log));
    }
}

TEST_F(HdrMetadataTest, APayloadIsDumpedBitByBitOnlyWhenPropertyLevelAndMaskAllowIt) {
    const Bytes data = {0x01, 0xA5};
    const Bytes nothing;
    setLog(kDebugLog);
    set(2, &data, 0);
    EXPECT_THAT(takeLog(), IsEmpty());
    platformScript().properties["debug.zelkcam.utils.gralloc.loglevel"] = -1;
    mapper.emplace(scriptedAllocator());
    set(2, &data, 0);
    set(3, &data, 0);
    set(2, &nothing, 0);
    const std::string prefix = "D GrallocMapperAidlV2 [setGrallocMeta] ";
    EXPECT_THAT(takeLog(), ElementsAre(prefix + "HDR10P GrallocMeta Dynamic: 00000001 10100101",
                                       prefix + "Set Dolby GrallocMeta Dynamic: 00000001 10100101",
                                       prefix + "HDR10P GrallocMeta Dynamic:"));
    setLog({.details = 4});
    set(2, &data, 0);
    EXPECT_THAT(takeLog(), IsEmpty());
}

}  // namespace

}  // namespace zelkcam::test
