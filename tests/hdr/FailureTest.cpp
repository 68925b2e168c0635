// What is refused before the mapper is asked, and what becomes of a mapper's refusals.
#include "tests/backends/BackendTest.h"
#include "tests/hdr/HdrTest.h"

namespace zelkcam::test {

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr int kEveryKind[] = {0, 1, 2, 3, 4, -1, INT32_MAX, INT32_MIN};

class HdrFailureTest : public BackendTest {
  protected:
    // Expects one line of each direction's function, the set direction's first.
    static void expectToldByBoth(const std::string& line) {
        EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 [setGrallocMeta] " + line,
                                           "E GrallocMapperAidlV2 [getGrallocMeta] " + line));
    }
};

TEST_F(HdrFailureTest, OfEveryKindANullHandleIsRefusedBeforeNullData) {
    char data[300] = {};
    for (const int kind : kEveryKind) {
        for (void* const where : {static_cast<void*>(nullptr), static_cast<void*>(data)}) {
            EXPECT_EQ(set(*mapper, nullptr, kind, where, 1), 2);
            EXPECT_EQ(get(*mapper, nullptr, kind, where, 1), 2);
            expectToldByBoth("Null buffer handle");
        }
        EXPECT_EQ(set(*mapper, buffer, kind, nullptr, 1), 3);
        EXPECT_EQ(get(*mapper, buffer, kind, nullptr, 1), 3);
        expectToldByBoth("Null data pointer");
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
    for (const auto& kind : kinds)
        for (const unsigned size : {kind.right - 1, kind.right + 1, 0u, 4u, UINT32_MAX}) {
            const std::string line = "data_size(" + std::to_string(static_cast<int>(size)) +
                                     ") != struct size of " + kind.record;
            EXPECT_EQ(get(*mapper, buffer, kind.kind, data.data(), size), 3);
            if (kind.kind == 2) {
                EXPECT_THAT(takeLog(),
                            ElementsAre("E GrallocMapperAidlV2 [getGrallocMeta] " + line));
                continue;
            }
            takeLog();
            EXPECT_EQ(set(*mapper, buffer, kind.kind, data.data(), size), 3);
            EXPECT_EQ(get(*mapper, buffer, kind.kind, data.data(), size), 3);
            expectToldByBoth(line);
        }
    EXPECT_EQ(data, std::string(300, 'u'));
    EXPECT_THAT(journal().take(), IsEmpty());
}

TEST_F(HdrFailureTest, WhatIsNoKindDoesNothingAndAPayloadNeedsNoSize) {
    std::string data(300, 'u');
    for (const int kind : {4, -1, INT32_MAX, INT32_MIN, 0x100, 19}) {
        EXPECT_EQ(set(*mapper, buffer, kind, data.data(), 40), 0);
        EXPECT_EQ(get(*mapper, buffer, kind, data.data(), 40), 0);
    }
    for (const unsigned size : {0u, 223u, 224u})
        EXPECT_EQ(get(*mapper, buffer, 3, data.data(), size), 0);
    EXPECT_THAT(journal().take(), IsEmpty());
    EXPECT_EQ(data, std::string(300, 'u'));

    const Payload none;
    for (const int kind : {2, 3})
        for (const unsigned size : {0u, 24u, 225u, UINT32_MAX}) {
            mapperScript().lastSet.clear();
            EXPECT_EQ(set(*mapper, buffer, kind, &none, size), 0);
            EXPECT_EQ(text(mapperScript().lastSet),
                      encodedPayload(static_cast<char>(19 + kind), 0, 0));
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
    for (const int result : {0, 2, 3, 7, -1})
        for (int kind = 0; kind < 4; ++kind) {
            mapperScript().setResult = result;
            EXPECT_EQ(set(*mapper, buffer, kind, kinds[kind].data, kinds[kind].size), result);
            EXPECT_EQ(journal().take().size(), 2u) << "one call and its flush";
        }
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HdrFailureTest, AFailedGetAnswers0LeavesTheDataAloneAndTellsWhatIsUnexpected) {
    struct Kind {
        int kind;
        unsigned size;
        std::string bytes;  // a value that would be read
    };
    const Kind kinds[] = {{0, 40, headerOf(0x13) + std::string(40, 'v')},
                          {1, 8, headerOf(0x14) + std::string(8, 'v')},
                          {2, 224, encodedPayload(0x15, 20, 'v')}};
    const std::string unexpected =
            "Received something other than UNSUPPORTED from valid getStandardMetadata call";
    const std::string failed = "Failed to get Gralloc StandardMetadataType (#) failed with ";
    // Answers that stand for the size of the value, and for one byte less.
    constexpr int32_t kWhole = INT32_MAX - 1, kOneLess = INT32_MAX - 2;
    const struct {
        const char* name;
        std::vector<int32_t> answers;  // of the reads in turn
        std::function<void(std::string&)> spoil;
        std::string line = {};
    } cases[] = {
            {"nothing there", {0}, {}},
            {"unsupported", {-7}, {}},
            {"a bad buffer", {-2}, {}, unexpected},
            {"no resources", {-5}, {}, unexpected},
            {"another error", {-1}, {}, unexpected},
            {"grows between the reads", {600, 601}, {}, failed + "601"},
            {"grows hugely", {513, INT32_MAX}, {}, failed + "2147483647"},
            {"goes between the reads", {600, -7}, {}, failed + "-7"},
            {"breaks between the reads", {600, -2}, {}, failed + "-2"},
            {"empties between the reads", {600, 0}, {}},
            {"shrinks below its header", {600, 10}, {}},
            {"another type", {kWhole}, [](std::string& bytes) { bytes[61] ^= 1; }},
            {"another type, high half", {kWhole}, [](std::string& bytes) { bytes[68] = 1; }},
            {"another name", {kWhole}, [](std::string& bytes) { bytes[60] ^= 1; }},
            {"a longer name", {kWhole}, [](std::string& bytes) { bytes[0] += 1; }},
            {"a negative name", {kWhole}, [](std::string& bytes) { bytes[7] = '\xFF'; }},
            {"header alone", {69}, {}},
            {"header cut", {68}, {}},
            {"one byte less announced", {kOneLess}, {}},
    };
    for (const Kind& kind : kinds)
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << kind.kind << ": " << c.name);
            std::string bytes = kind.bytes;
            if (c.spoil)
                c.spoil(bytes);
            size_t reads = 0;
            mapperScript().getMetadata = [&](int64_t, void* destination, size_t size) {
                memcpy(destination, bytes.data(), std::min(bytes.size(), size));
                const int32_t answer = c.answers.at(reads++);
                const auto whole = static_cast<int32_t>(bytes.size());
                return answer == kWhole ? whole : answer == kOneLess ? whole - 1 : answer;
            };
            std::string data(300, 'u');
            EXPECT_EQ(get(*mapper, buffer, kind.kind, data.data(), kind.size), 0);
            EXPECT_EQ(data, std::string(300, 'u'));
            EXPECT_EQ(reads, c.answers.size());
            EXPECT_EQ(journal().take().size(), 2 * reads) << "each read with its flush";
            std::string line = c.line;
            if (const size_t type = line.find('#'); type != std::string::npos)
                line.replace(type, 1, std::to_string(19 + kind.kind));
            std::vector<std::string> expected;
            if (!line.empty())
                expected.push_back("E GrallocMapperAidlV2 [getStandardMetadata] " + line);
            EXPECT_THAT(takeLog(), ElementsAreArray(expected));
        }
}

TEST_F(HdrFailureTest, APayloadsOwnLengthMustFitWhatTheMapperAnswered) {
    const struct {
        const char* name;
        std::string length;  // eight bytes
        size_t copied;
    } cases[] = {
            {"as it is", literal("\x14\0\0\0\0\0\0\0"), 20},
            {"one too long", literal("\x15\0\0\0\0\0\0\0"), 0},
            {"negative", std::string(8, '\xFF'), 0},
            {"huge", std::string(7, '\xFF') + '\x7F', 0},
            {"shorter", literal("\x13\0\0\0\0\0\0\0"), 19},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string bytes = encodedPayload(0x15, 20, 'v');
        bytes.replace(69, 8, c.length);
        mapperScript().metadata[21] = bytesOf(bytes);
        std::string data(300, 'u');
        EXPECT_EQ(get(*mapper, buffer, 2, data.data(), 224), 0);
        EXPECT_EQ(data, std::string(c.copied, 'v') + std::string(300 - c.copied, 'u'));
        EXPECT_THAT(takeLog(), IsEmpty());
    }
}

}  // namespace

}  // namespace zelkcam::test
