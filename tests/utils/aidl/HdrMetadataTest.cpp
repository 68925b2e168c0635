// HDR metadata: its bytes, both ways; the dump of payloads; what is refused before the mapper is
// asked, and what becomes of a mapper's refusals.
#include "tests/support/Fixtures.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::test {

namespace {

using aidl::android::hardware::graphics::common::Cta861_3;
using aidl::android::hardware::graphics::common::Smpte2086;
using NSCam::GrallocMapperAidlV2::GRALLOC_STANDARD_METADATA_TYPE;
using NSCam::GrallocMapperAidlV2::MapperV5;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Payload = std::vector<uint8_t>;

// Floats that do not survive a detour through arithmetic or through double: signalling NaNs with
// payloads, -0, denormals, infinities.
constexpr uint32_t kOddFloats[10] = {0x7F812345, 0x80000000, 0x00000001, 0x807FFFFF, 0x7F800000,
                                     0xFF800000, 0xFFFFFFFF, 0x3F800000, 0x7FC00001, 0xFF800001};

// A literal with zeros in it, whole.
template <size_t N>
std::string literal(const char (&text)[N]) {
    return {text, N - 1};
}

std::string headerOf(char type) {
    return literal("\x35\0\0\0\0\0\0\0"
                   "android.hardware.graphics.common.StandardMetadataType") +
           type + literal("\0\0\0\0\0\0\0");
}

std::string text(const void* data, size_t size) {
    return {static_cast<const char*>(data), size};
}

std::string text(const Payload& bytes) {
    return text(bytes.data(), bytes.size());
}

Payload bytesOf(const std::string& value) {
    return {value.begin(), value.end()};
}

// `size` is at most 65535.
std::string encodedPayload(char type, size_t size, char fill) {
    return headerOf(type) + static_cast<char>(size & 0xFF) + static_cast<char>(size >> 8) +
           literal("\0\0\0\0\0\0") + std::string(size, fill);
}

class HdrTest : public ScriptedTest {
  protected:
    HdrTest() { forget(); }

    // Payloads are dumped only where this property is not 0.
    void setDumpProperty(int value) {
        platformScript().properties["debug.zelkcam.utils.gralloc.loglevel"] = value;
        mapper.emplace(scriptedAllocator());
        forget();
    }

    // Expects one line of each direction's function, the set direction's first.
    static void expectInBoth(const std::string& line) {
        EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 [setGrallocMeta] " + line,
                                           "E GrallocMapperAidlV2 [getGrallocMeta] " + line));
    }

    // By the kind's number.
    int set(int kind, const void* data, unsigned size) const {
        return mapper->setGrallocMeta(buffer, static_cast<GRALLOC_STANDARD_METADATA_TYPE>(kind),
                                      const_cast<void*>(data), size);
    }
    int get(int kind, void* data, unsigned size) const {
        return mapper->getGrallocMeta(buffer, static_cast<GRALLOC_STANDARD_METADATA_TYPE>(kind),
                                      data, size);
    }

    std::optional<MapperV5> mapper{scriptedAllocator()};
    // Nobody looks behind it.
    const native_handle* buffer = reinterpret_cast<const native_handle*>(0x77);
};

// BT.2020 on a display of 1000 to 0.005 nits, with the fields by name; one byte written out each.
const Smpte2086 kDisplay = {{0.708f, 0.292f},  {0.17f, 0.797f}, {0.131f, 0.046f},
                            {0.3127f, 0.329f}, 1000.0f,         0.005f};
const std::string kDisplayBytes = headerOf(0x13) + literal("\x7D\x3F\x35\x3F\x06\x81\x95\x3E"
                                                           "\x7B\x14\x2E\x3E\x31\x08\x4C\x3F"
                                                           "\xDD\x24\x06\x3E\x7F\x6A\x3C\x3D"
                                                           "\x37\x1A\xA0\x3E\xB0\x72\xA8\x3E"
                                                           "\0\0\x7A\x44\x0A\xD7\xA3\x3B");
const Cta861_3 kLevels = {400.0f, 200.0f};
const std::string kLevelsBytes = headerOf(0x14) + literal("\0\0\xC8\x43\0\0\x48\x43");
const Payload kPayload = {0xB5, 0x00, 0x3C};
TEST_F(HdrTest, EveryKindIsWrittenAndReadInTheseBytes) {
    const std::string threeBytes = literal("\x03\0\0\0\0\0\0\0\xB5\0\x3C");
    const struct {
        int kind;
        const void* record;  // as set takes it
        std::string memory;  // as get leaves it
        unsigned size;       // that get wants; 0: it reads nothing
        std::string bytes;
    } cases[] = {
            {0, &kDisplay, text(&kDisplay, 40), 40, kDisplayBytes},
            {1, &kLevels, text(&kLevels, 8), 8, kLevelsBytes},
            {2, &kPayload, text(kPayload), 224, headerOf(0x15) + threeBytes},
            {3, &kPayload, "", 0, headerOf(0x16) + threeBytes},
            {0, kOddFloats, text(kOddFloats, 40), 40, headerOf(0x13) + text(kOddFloats, 40)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        EXPECT_EQ(set(c.kind, c.record, c.size), 0);
        EXPECT_EQ(text(mapperScript().lastSet), c.bytes);
        EXPECT_THAT(journal().take(),
                    ElementsAre("setStandardMetadata " + std::to_string(19 + c.kind) + " " +
                                        std::to_string(c.bytes.size()),
                                "flush"));
        mapperScript().metadata[19 + c.kind] = bytesOf(c.bytes);
        std::string data(300, 'u');
        EXPECT_EQ(get(c.kind, data.data(), c.size ? c.size : 224), 0);
        EXPECT_EQ(data, c.memory + std::string(300 - c.memory.size(), 'u'));
        journal().take();
    }
    EXPECT_EQ(headerOf(0x13).size(), 69u);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HdrTest, AnEmptyOptionalIsSetAsNoBytesAndNoBytesAreReadAsAnEmptyOptional) {
    constexpr auto kType = StandardMetadataType::CTA861_3;
    EXPECT_EQ(mapper->setStandardMetadata<kType>(buffer, std::nullopt), 0);
    EXPECT_THAT(journal().take(), ElementsAre("setStandardMetadata 20 0", "flush"));
    EXPECT_FALSE(mapper->getStandardMetadata<kType>(buffer).has_value()) << "unsupported";
    mapperScript().metadata[20] = {};
    const auto none = mapper->getStandardMetadata<kType>(buffer);
    ASSERT_TRUE(none.has_value());
    EXPECT_FALSE(none->has_value());
    mapperScript().metadata[20] = bytesOf(kLevelsBytes);
    EXPECT_EQ(mapper->getStandardMetadata<kType>(buffer), std::optional(std::optional(kLevels)));
}

TEST_F(HdrTest, MoreThan512BytesTakeExactlyOneMoreReadOfTheirSize) {
    for (const size_t size : {435, 436, 4000}) {
        mapperScript().metadata[21] = bytesOf(encodedPayload(0x15, size, 'p'));
        std::string data(4100, 'u');
        EXPECT_EQ(get(2, data.data(), 224), 0);
        EXPECT_EQ(data, std::string(size, 'p') + std::string(4100 - size, 'u'));
        Calls expected = {"getStandardMetadata 21 512", "flush"};
        if (size > 435) {
            expected.push_back("getStandardMetadata 21 " + std::to_string(77 + size));
            expected.emplace_back("flush");
        }
        EXPECT_THAT(journal().take(), ElementsAreArray(expected));
    }
}

TEST_F(HdrTest, ThePayloadIsDumpedWhereTheGateAndThePropertyAllowIt) {
    const Payload two = {0x01, 0xA5}, none;
    const std::string hdr = "GrallocMapperAidlV2 [setGrallocMeta] HDR10P GrallocMeta Dynamic:";
    const std::string dolby = "GrallocMapperAidlV2 [setGrallocMeta] Set Dolby GrallocMeta Dynamic:";
    const struct {
        int property;
        LogSettings log;
        const char* output;  // null: none
    } cases[] = {
            {-1, kDebugLog, "D "},
            {0, kDebugLog, nullptr},
            {1, {.details = 4}, nullptr},
            {1, {.details = 5, .mode = 1}, "D(android) "},
    };
    for (const auto& c : cases) {
        setDumpProperty(c.property);
        setLog(c.log);
        set(2, &two, 0);
        set(3, &two, 0);
        set(2, &none, 0);
        set(0, &kDisplay, 40);
        const auto log = takeLog();
        if (c.output == nullptr) {
            EXPECT_THAT(log, IsEmpty());
            continue;
        }
        EXPECT_THAT(log, ElementsAre(c.output + hdr + " 00000001 10100101",
                                     c.output + dolby + " 00000001 10100101", c.output + hdr));
    }
}

TEST_F(HdrTest, OfEveryKindANullHandleIsRefusedBeforeNullData) {
    for (const int kind : {0, 1, 2, 3, 4, -1}) {
        EXPECT_EQ(set(kind, nullptr, 1), 3);
        EXPECT_EQ(get(kind, nullptr, 1), 3);
        expectInBoth("Null data pointer");
    }
    buffer = nullptr;
    char data[300] = {};
    for (const int kind : {0, 1, 2, 3, 4, -1}) {
        for (void* const where : {static_cast<void*>(nullptr), static_cast<void*>(data)}) {
            EXPECT_EQ(set(kind, where, 1), 2);
            EXPECT_EQ(get(kind, where, 1), 2);
            expectInBoth("Null buffer handle");
        }
    }
    EXPECT_THAT(journal().take(), IsEmpty());
}

TEST_F(HdrTest, ASizeMustBeExactWhereItIsLookedAt) {
    const std::tuple<int, unsigned, std::string> kinds[] = {
            {0, 40, "Smpte2086(40)"},
            {1, 8, "Cta861_3(8)"},
            {2, 224, "plexa_hdr10p_dynamic_metadata_t(224)"}};
    std::string data(300, 'u');
    for (const auto& [kind, right, record] : kinds) {
        for (const unsigned size : {right - 1, right + 1, UINT32_MAX}) {
            const std::string line = "data_size(" + std::to_string(static_cast<int>(size)) +
                                     ") != struct size of " + record;
            // Set takes a payload of any size.
            EXPECT_EQ(kind == 2 ? 3 : set(kind, data.data(), size), 3);
            EXPECT_EQ(get(kind, data.data(), size), 3);
            const auto log = takeLog();
            EXPECT_EQ(log.back(), "E GrallocMapperAidlV2 [getGrallocMeta] " + line);
            EXPECT_EQ(log.front(),
                      kind == 2 ? log.back() : "E GrallocMapperAidlV2 [setGrallocMeta] " + line);
        }
    }
    EXPECT_EQ(data, std::string(300, 'u'));
    EXPECT_THAT(journal().take(), IsEmpty());
}

TEST_F(HdrTest, WhatIsNoKindDoesNothingAndAPayloadNeedsNoSize) {
    std::string data(300, 'u');
    for (const int kind : {4, -1, INT32_MIN, 19}) {
        EXPECT_EQ(set(kind, data.data(), 40), 0);
        EXPECT_EQ(get(kind, data.data(), 40), 0);
    }
    EXPECT_EQ(get(3, data.data(), 223), 0) << "only ever set";
    EXPECT_THAT(journal().take(), IsEmpty());
    EXPECT_EQ(data, std::string(300, 'u'));

    const Payload none;
    for (const int kind : {2, 3}) {
        EXPECT_EQ(set(kind, &none, UINT32_MAX), 0);
        EXPECT_EQ(text(mapperScript().lastSet), encodedPayload(static_cast<char>(19 + kind), 0, 0));
    }
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HdrTest, ASetAnswersTheMappersResultSilently) {
    const Payload payload(3);
    for (const int result : {2, 7, -1}) {
        mapperScript().setResult = result;
        EXPECT_EQ(set(0, kOddFloats, 40), result);
        EXPECT_EQ(set(3, &payload, 0), result);
        EXPECT_EQ(journal().take().size(), 4u) << "one call and its flush each";
    }
    EXPECT_THAT(takeLog(), IsEmpty());
}

// The reads are those of the plane layouts, whose tests go through all answers.
TEST_F(HdrTest, AFailedGetAnswers0LeavesTheDataAloneAndLogsWhatIsUnexpected) {
    const std::string whole = headerOf(0x14) + std::string(8, 'v');
    std::string otherType = whole;
    otherType[61] ^= 1;
    for (const std::string& bytes :
         {std::string(), whole.substr(0, 69), whole.substr(0, 76), otherType}) {
        mapperScript().metadata[20] = bytesOf(bytes);
        std::string data(300, 'u');
        EXPECT_EQ(get(1, data.data(), 8), 0);
        EXPECT_EQ(data, std::string(300, 'u')) << bytes.size();
        EXPECT_EQ(journal().take().size(), 2u) << "one read and its flush";
    }
    for (const int32_t code : {7, 2}) {
        mapperScript().getMetadata = [=](auto...) { return -code; };
        EXPECT_EQ(get(1, &otherType[0], 8), 0);
        EXPECT_EQ(takeLog().size(), code == 7 ? 0u : 1u) << "unsupported is expected";
    }
}

}  // namespace

}  // namespace zelkcam::test
