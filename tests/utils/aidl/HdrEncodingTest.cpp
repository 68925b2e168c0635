// The bytes of HDR metadata, both ways, and the dump of the payloads.
#include "tests/utils/aidl/HdrTest.h"

namespace zelkcam::test {

namespace {

using aidl::android::hardware::graphics::common::Cta861_3;
using aidl::android::hardware::graphics::common::Smpte2086;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class HdrEncodingTest : public HdrTest {
  protected:
    // The dump is built only where this property is not 0.
    void setDumpProperty(int value) {
        platformScript().properties["debug.zelkcam.utils.gralloc.loglevel"] = value;
        mapper.emplace(scriptedAllocator());
        forget();
    }
};

// BT.2020 on a display of 1000 to 0.005 nits, with the fields by name; one byte written out each.
const Smpte2086 kDisplay = {{0.708f, 0.292f},  {0.17f, 0.797f}, {0.131f, 0.046f},
                            {0.3127f, 0.329f}, 1000.0f,         0.005f};
const std::string kDisplayBytes =
        literal("\x35\0\0\0\0\0\0\0"
                "android.hardware.graphics.common.StandardMetadataType"
                "\x13\0\0\0\0\0\0\0"
                "\x7D\x3F\x35\x3F\x06\x81\x95\x3E"
                "\x7B\x14\x2E\x3E\x31\x08\x4C\x3F"
                "\xDD\x24\x06\x3E\x7F\x6A\x3C\x3D"
                "\x37\x1A\xA0\x3E\xB0\x72\xA8\x3E"
                "\0\0\x7A\x44\x0A\xD7\xA3\x3B");
const Cta861_3 kLevels = {400.0f, 200.0f};
const std::string kLevelsBytes =
        literal("\x35\0\0\0\0\0\0\0"
                "android.hardware.graphics.common.StandardMetadataType"
                "\x14\0\0\0\0\0\0\0"
                "\0\0\xC8\x43\0\0\x48\x43");
const Payload kPayload = {0xB5, 0x00, 0x3C};
const std::string kPayloadBytes =
        literal("\x35\0\0\0\0\0\0\0"
                "android.hardware.graphics.common.StandardMetadataType"
                "\x15\0\0\0\0\0\0\0"
                "\x03\0\0\0\0\0\0\0"
                "\xB5\0\x3C");

TEST_F(HdrEncodingTest, EveryKindIsWrittenAndReadInTheseBytes) {
    std::string dolbyBytes = kPayloadBytes;
    dolbyBytes[61] = 0x16;
    const struct {
        int kind;
        const void* record;  // as set takes it
        std::string memory;  // as get leaves it
        unsigned size;       // that get wants; 0: it reads nothing
        std::string bytes;
    } cases[] = {
            {0, &kDisplay, text(&kDisplay, 40), 40, kDisplayBytes},
            {1, &kLevels, text(&kLevels, 8), 8, kLevelsBytes},
            {2, &kPayload, text(kPayload), 224, kPayloadBytes},
            {3, &kPayload, "", 0, dolbyBytes},
            {0, kOddFloats, text(kOddFloats, 40), 40, headerOf(0x13) + text(kOddFloats, 40)},
            {1, kOddFloats, text(kOddFloats, 8), 8, headerOf(0x14) + text(kOddFloats, 8)},
            {1, kOddFloats + 8, text(kOddFloats + 8, 8), 8,
             headerOf(0x14) + text(kOddFloats + 8, 8)},
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
    EXPECT_EQ(kDisplayBytes.size(), 109u);
    EXPECT_EQ(kLevelsBytes.size(), 77u);
    EXPECT_EQ(kPayloadBytes.size(), 77u + 3u);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HdrEncodingTest, AnEmptyOptionalIsSetAsNoBytesAndNoBytesAreReadAsAnEmptyOptional) {
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

TEST_F(HdrEncodingTest, MoreThan512BytesTakeExactlyOneMoreReadOfTheirSize) {
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

TEST_F(HdrEncodingTest, ThePayloadIsDumpedWhereTheGateAndThePropertyAllowIt) {
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

}  // namespace

}  // namespace zelkcam::test
