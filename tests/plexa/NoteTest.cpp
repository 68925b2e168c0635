#include "tests/plexa/ScriptedBuffer.h"

namespace zelkcam::test {
namespace {

constexpr char kTypeName[] = "zelkcam.plexa.BufferAttribute";

uint32_t statusWord(const plexa_sf_record_t& record) {
    uint32_t word;
    memcpy(&word, &record, sizeof(word));
    return word;
}

// What a status change does: fetch, edit, store; the results of the two calls that have one.
std::pair<int, int> mark(const native_handle_t* handle, uint32_t mask, uint32_t value) {
    plexa_sf_record_t record{};
    const int fetched = plexa_query(handle, PLEXA_GET_SF_INFO, &record);
    EXPECT_EQ(plexa_sf_set_status(&record, static_cast<int>(mask), static_cast<int>(value)), 0);
    return {fetched, plexa_perform(handle, PLEXA_SET_SF_INFO, &record)};
}

std::optional<uint32_t> statusOf(const native_handle_t* handle) {
    plexa_sf_record_t record{};
    if (plexa_query(handle, PLEXA_GET_SF_INFO, &record) != 0) {
        return std::nullopt;
    }
    return statusWord(record);
}

TEST(StatusWord, TakesTheMaskedBitsAndKeepsTheRest) {
    const struct {
        uint32_t before, mask, value, after;
    } kCases[] = {
            {0, 0xc03, 0xc03, 0xc03},
            {0xe0000000, 0xe0000000, 0x40000000, 0x40000000},
            {0x12345678, 0xc03, 0xc03, 0x12345e7b},
            {0x12345678, 0xff, 0xffffff00, 0x12345600},
    };
    for (const auto& expected : kCases) {
        uint32_t words[16];
        std::fill(std::begin(words), std::end(words), 0xabcdef01);
        words[0] = expected.before;
        plexa_sf_record_t record;
        memcpy(&record, words, sizeof(record));
        EXPECT_EQ(plexa_sf_set_status(&record, static_cast<int>(expected.mask),
                                      static_cast<int>(expected.value)),
                  0);
        words[0] = expected.after;
        EXPECT_EQ(memcmp(&record, words, sizeof(record)), 0) << std::hex << expected.after;
    }
    EXPECT_NE(plexa_sf_set_status(nullptr, 1, 1), 0);
}

class NoteTest : public ScriptedBufferTest {
  protected:
    NoteTest() {
        static uint64_t lastId = 1 << 20;
        describe<StandardMetadataType::BUFFER_ID>(++lastId);
    }
};

TEST_F(NoteTest, AreVendorMetadataWhereTheMapperTakesIt) {
    EXPECT_EQ(statusOf(handle()), 0u);
    EXPECT_EQ(mark(handle(), 0xc03, 0xc03), std::pair(0, 0));
    uint64_t time = 0x0123456789abcdef;
    EXPECT_EQ(plexa_perform(handle(), PLEXA_SET_SOF, &time), 0);

    std::vector<uint8_t> record(64);
    record[0] = 0x03;
    record[1] = 0x0c;
    EXPECT_EQ((mapperScript().notes.values[{kTypeName, 100}]), record);
    EXPECT_EQ((mapperScript().notes.values[{kTypeName, 110}]),
              (std::vector<uint8_t>{0xef, 0xcd, 0xab, 0x89, 0x67, 0x45, 0x23, 0x01}));
    EXPECT_EQ(statusOf(handle()), 0xc03u);
}

TEST_F(NoteTest, StayInTheProcessByBufferIdWhereTheMapperRefuses) {
    uint64_t id = 1000;
    for (const auto& [readError, setError] :
         {std::pair(AIMAPPER_ERROR_UNSUPPORTED, AIMAPPER_ERROR_UNSUPPORTED),
          {AIMAPPER_ERROR_BAD_VALUE, AIMAPPER_ERROR_BAD_VALUE},
          // A mapper may answer no bytes although it refused to take them.
          {AIMAPPER_ERROR_NONE, AIMAPPER_ERROR_UNSUPPORTED}}) {
        mapperScript().notes.readError = readError;
        mapperScript().notes.setError = setError;
        describe<StandardMetadataType::BUFFER_ID>(++id);
        EXPECT_EQ(statusOf(handle()), 0u);
        EXPECT_EQ(mark(handle(), 0xffffffff, 0xffffffff), std::pair(0, 0));
        EXPECT_EQ(mark(handle(), 0xe0000000, 0x40000000), std::pair(0, 0));
        uint64_t time = 77;
        EXPECT_EQ(plexa_perform(handle(), PLEXA_SET_SOF, &time), 0);
        EXPECT_EQ(statusOf(handle()), 0x5fffffffu);

        describe<StandardMetadataType::BUFFER_ID>(++id);
        EXPECT_EQ(statusOf(handle()), 0u) << "another buffer";
    }
}

TEST_F(NoteTest, InTheProcessOutliveManyBuffersWhileTheyAreUsed) {
    mapperScript().notes.readError = mapperScript().notes.setError = AIMAPPER_ERROR_UNSUPPORTED;
    const auto use = [&](uint64_t id) { describe<StandardMetadataType::BUFFER_ID>(id); };
    for (const uint64_t first : {7, 8}) {
        use(first);
        mark(handle(), 0xff, 0x42);
    }
    for (uint64_t id = 10000; id < 10600; ++id) {
        use(id);
        mark(handle(), 0xff, id);
        EXPECT_EQ(statusOf(handle()), id & 0xff);
        use(7);
        ASSERT_EQ(statusOf(handle()), 0x42u) << "after buffer " << id;
    }
    use(8);
    EXPECT_EQ(statusOf(handle()), 0u) << "idle longest: its place was needed";
}

TEST_F(NoteTest, FailWhereTheMapperFails) {
    for (const AIMapper_Error error : {AIMAPPER_ERROR_BAD_BUFFER, AIMAPPER_ERROR_NO_RESOURCES}) {
        mapperScript().notes.readError = mapperScript().notes.setError = error;
        const auto [fetched, stored] = mark(handle(), 1, 1);
        EXPECT_NE(fetched, 0);
        EXPECT_NE(stored, 0);
    }
    mapperScript().notes = {};
    for (const size_t size : {1, 63, 65, 600}) {
        mapperScript().notes.values[{kTypeName, 100}].assign(size, 0xff);
        plexa_sf_record_t record{.opaque = {1, 2, 3}};
        EXPECT_NE(plexa_query(handle(), PLEXA_GET_SF_INFO, &record), 0) << size;
        EXPECT_EQ(record.opaque[0], 1u) << "written though the read failed";
    }
    // Refused, and without an id to keep the note by.
    mapperScript().notes.readError = mapperScript().notes.setError = AIMAPPER_ERROR_UNSUPPORTED;
    mapperScript().metadata.clear();
    const auto [fetched, stored] = mark(handle(), 1, 1);
    EXPECT_NE(fetched, 0);
    EXPECT_NE(stored, 0);
}

}  // namespace
}  // namespace zelkcam::test
