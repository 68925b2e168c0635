// What is refused before the mapper is asked, and what becomes of a mapper's refusals.
#include "tests/utils/aidl/HdrTest.h"

namespace zelkcam::test {

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr int kEveryKind[] = {0, 1, 2, 3, 4, -1, INT32_MAX, INT32_MIN};

class HdrFailureTest : public HdrTest {
  protected:
    // Expects one line of each direction's function, the set direction's first.
    static void expectToldByBoth(const std::string& line) {
        EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 [setGrallocMeta] " + line,
                                           "E GrallocMapperAidlV2 [getGrallocMeta] " + line));
    }
};

TEST_F(HdrFailureTest, OfEveryKindANullHandleIsRefusedBeforeNullData) {
    for (const int kind : kEveryKind) {
        EXPECT_EQ(set(kind, nullptr, 1), 3);
        EXPECT_EQ(get(kind, nullptr, 1), 3);
        expectToldByBoth("Null data pointer");
    }
    buffer = nullptr;
    char data[300] = {};
    for (const int kind : kEveryKind) {
        for (void* const where : {static_cast<void*>(nullptr), static_cast<void*>(data)}) {
            EXPECT_EQ(set(kind, where, 1), 2);
            EXPECT_EQ(get(kind, where, 1), 2);
            expectToldByBoth("Null buffer handle");
        }
    }
    EXPECT_THAT(journal().take(), IsEmpty());
}

TEST_F(HdrFailureTest, ASizeMustBeExactWhereItIsLookedAt) {
    const struct {
        int kind;
        unsigned right;
        const char* record;
    } kinds[] = {{0, 40, "Smpte2086(40)"},
                 {1, 8, "Cta861_3(8)"},
                 {2, 224, "plexa_hdr10p_dynamic_metadata_t(224)"}};
    std::string data(300, 'u');
    for (const auto& kind : kinds) {
        for (const unsigned size : {kind.right - 1, kind.right + 1, 0u, UINT32_MAX}) {
            const std::string line = "data_size(" + std::to_string(static_cast<int>(size)) +
                                     ") != struct size of " + kind.record;
            EXPECT_EQ(get(kind.kind, data.data(), size), 3);
            EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 [getGrallocMeta] " + line));
            if (kind.kind == 2) {
                continue;  // set takes a vector of any size
            }
            EXPECT_EQ(set(kind.kind, data.data(), size), 3);
            EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 [setGrallocMeta] " + line));
        }
    }
    EXPECT_EQ(data, std::string(300, 'u'));
    EXPECT_THAT(journal().take(), IsEmpty());
}

TEST_F(HdrFailureTest, WhatIsNoKindDoesNothingAndAPayloadNeedsNoSize) {
    std::string data(300, 'u');
    for (const int kind : {4, -1, INT32_MAX, INT32_MIN, 0x100, 19}) {
        EXPECT_EQ(set(kind, data.data(), 40), 0);
        EXPECT_EQ(get(kind, data.data(), 40), 0);
    }
    for (const unsigned size : {0u, 223u, 224u}) {
        EXPECT_EQ(get(3, data.data(), size), 0);
    }
    EXPECT_THAT(journal().take(), IsEmpty());
    EXPECT_EQ(data, std::string(300, 'u'));

    const Payload none;
    for (const int kind : {2, 3}) {
        for (const unsigned size : {0u, 24u, 225u, UINT32_MAX}) {
            mapperScript().lastSet.clear();
            EXPECT_EQ(set(kind, &none, size), 0);
            EXPECT_EQ(text(mapperScript().lastSet),
                      encodedPayload(static_cast<char>(19 + kind), 0, 0));
        }
    }
    EXPECT_EQ(mapperScript().lastSet.size(), 77u);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HdrFailureTest, ASetAnswersTheMappersResultSilently) {
    const Payload payload(3);
    const struct {
        const void* data;
        unsigned size;
    } kinds[] = {{kOddFloats, 40}, {kOddFloats, 8}, {&payload, 0}, {&payload, 0}};
    for (const int result : {0, 2, 3, 7, -1}) {
        for (int kind = 0; kind < 4; ++kind) {
            mapperScript().setResult = result;
            EXPECT_EQ(set(kind, kinds[kind].data, kinds[kind].size), result);
            EXPECT_EQ(journal().take().size(), 2u) << "one call and its flush";
        }
    }
    EXPECT_THAT(takeLog(), IsEmpty());
}

// The reads themselves are those of the plane layouts, whose tests go through all answers.
TEST_F(HdrFailureTest, AFailedGetAnswers0LeavesTheDataAloneAndTellsWhatIsUnexpected) {
    const struct {
        int kind;
        unsigned size;
        std::string bytes;  // a value that would be read
    } kinds[] = {{0, 40, headerOf(0x13) + std::string(40, 'v')},
                 {1, 8, headerOf(0x14) + std::string(8, 'v')},
                 {2, 224, encodedPayload(0x15, 20, 'v')}};
    const struct {
        const char* name;
        int32_t code;  // what the mapper answers; 0: the value, spoilt
        void (*spoil)(std::string& bytes);
        std::vector<std::string> log = {};
    } cases[] = {
            {"unsupported", -7, nullptr},
            {"a bad buffer",
             -2,
             nullptr,
             {"E GrallocMapperAidlV2 [getStandardMetadata] Received something other than "
              "UNSUPPORTED from valid getStandardMetadata call"}},
            {"nothing there", 0, [](std::string& bytes) { bytes.clear(); }},
            {"header alone", 0, [](std::string& bytes) { bytes.resize(69); }},
            {"another type", 0, [](std::string& bytes) { bytes[61] ^= 1; }},
            {"one byte less", 0, [](std::string& bytes) { bytes.pop_back(); }},
    };
    for (const auto& kind : kinds) {
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << kind.kind << ": " << c.name);
            mapperScript() = {};
            if (c.code != 0) {
                mapperScript().getMetadata = [&](auto...) { return c.code; };
            } else {
                std::string bytes = kind.bytes;
                c.spoil(bytes);
                mapperScript().metadata[19 + kind.kind] = bytesOf(bytes);
            }
            std::string data(300, 'u');
            EXPECT_EQ(get(kind.kind, data.data(), kind.size), 0);
            EXPECT_EQ(data, std::string(300, 'u'));
            EXPECT_EQ(journal().take().size(), 2u) << "one read and its flush";
            EXPECT_THAT(takeLog(), ElementsAreArray(c.log));
        }
    }
}

}  // namespace

}  // namespace zelkcam::test
