// What is refused before the mapper is asked, and what becomes of a mapper's refusals.
#include "tests/utils/aidl/HdrTest.h"

namespace zelkcam::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kEveryKind[] = {0, 1, 2, 3, 4, -1};

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

TEST_F(HdrFailureTest, WhatIsNoKindDoesNothingAndAPayloadNeedsNoSize) {
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

TEST_F(HdrFailureTest, ASetAnswersTheMappersResultSilently) {
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
TEST_F(HdrFailureTest, AFailedGetAnswers0LeavesTheDataAloneAndLogsWhatIsUnexpected) {
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
