// Import, free, lock, unlock, and the marks for the display side.
#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class BufferOperationsTest : public HelperTest {};

TEST_F(BufferOperationsTest, AnImportReplacesTheHandleAndTheRawOneStaysTheCallers) {
    const native_handle* reference = handle;
    EXPECT_EQ(helper->importBuffer(reference), 1);
    EXPECT_NE(reference, handle);
    EXPECT_THAT(journal().take(), ElementsAre("importBuffer", "flush"));
    EXPECT_EQ(helper->freeBuffer(reference), 0);
    EXPECT_THAT(journal().take(), ElementsAre("freeBuffer", "flush"));
    EXPECT_EQ(foreign.header.version, static_cast<int>(sizeof(native_handle)));
}

TEST_F(BufferOperationsTest, AnswersATruthValueAndOnFailureLeavesTheHandleUnchanged) {
    const native_handle* reference = handle;
    mapperScript().importResults = {2};
    EXPECT_EQ(helper->importBuffer(reference), 0);
    EXPECT_EQ(reference, handle);
    const auto log = takeLog();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0], StartsWith("E GrallocHelper [importBuffer] importBuffer(0x"));
    EXPECT_THAT(log[0], HasSubstr("), numFds:1, numInts:1, failed: 2"));
}

TEST_F(BufferOperationsTest, AHandleOfNothingImportsToNullWithoutACall) {
    const native_handle empty = {sizeof(native_handle), 0, 0, {}};
    const native_handle* reference = &empty;
    EXPECT_EQ(helper->importBuffer(reference), 1);
    EXPECT_EQ(reference, nullptr);
    EXPECT_THAT(journal().take(), IsEmpty());

    OneFdHandle onlyInts;
    onlyInts.header.numFds = 0;
    reference = &onlyInts.header;
    EXPECT_EQ(helper->importBuffer(reference), 1);
    EXPECT_NE(reference, nullptr);
    EXPECT_EQ(helper->freeBuffer(reference), 0);
    reference = nullptr;
    EXPECT_DEATH(helper->importBuffer(reference), "") << "the handle itself is not tested";
}

TEST_F(BufferOperationsTest, AFreeOfNullIsRefusedAndAFailedOneAnswersTheMappersCode) {
    EXPECT_EQ(helper->freeBuffer(nullptr), -1);
    EXPECT_THAT(journal().take(), IsEmpty());
    mapperScript().freeResult = 2;
    EXPECT_EQ(helper->freeBuffer(handle), 2);
    EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("E GrallocMapperAidlV2 [freeBuffer] ")));
}

TEST_F(BufferOperationsTest, ALockCoversTheRegionWithoutAFence) {
    void* address = nullptr;
    EXPECT_EQ(helper->lock(handle, 0x80000033, 640, 480, &address), 0);
    EXPECT_EQ(address, kMapped);
    EXPECT_THAT(journal().take(),
                ElementsAre("lock usage=80000033 rect=0,0,640,480 fence=-1", "flush"));
    EXPECT_THAT(takeLog(), IsEmpty());
    mapperScript().lockResult = 3;
    EXPECT_EQ(helper->lock(handle, 3, -1, -2, &address), 3);
    EXPECT_THAT(takeLog(),
                ElementsAre("E GrallocMapperAidlV2 [lock] IMapper->lock error happen, err=3",
                            "E GrallocHelper [lock] lock(...) failed 3 (Unknown error -3)"));
}

TEST_F(BufferOperationsTest, AnUnlockWaitsWithoutLimitAndClosesWhateverTheFenceAndTheResults) {
    const WatchedFd fence("release");
    for (const int fd : {fence.get(), -1}) {
        mapperScript().unlockFence = fd;
        mapperScript().unlockResult = fd == -1 ? 2 : 0;
        platformScript().syncWaitResult = -1;
        EXPECT_EQ(helper->unlock(handle), 0);
        const std::string name = fd == -1 ? "-1" : "release";
        EXPECT_THAT(journal().take(),
                    ElementsAre("unlock", "flush", "sync_wait " + name, "close " + name));
    }
    EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("E GrallocMapperAidlV2 [unlock] unlock(0x")));
}

TEST_F(BufferOperationsTest, TheSettersReplaceTheirBitsOfTheStatusWord) {
    const struct {
        uint32_t before;
        int (*mark)(NSCam::IGrallocHelper*, const native_handle*);
        uint32_t after;
    } cases[] = {
            {0, [](auto* h, auto* b) { return h->setDirtyCamera(b); }, 0xc03},
            {0xffffffff, [](auto* h, auto* b) { return h->setColorspace_JFIF(b); }, 0x5fffffff},
            {0xff, [](auto* h, auto* b) { return h->setBufferStatus(b, 0x3c, 0x18); }, 0xdb},
    };
    for (const auto& c : cases) {
        platformScript().status = c.before;
        EXPECT_EQ(c.mark(helper, handle), 0);
        EXPECT_EQ(platformScript().status, c.after) << std::hex << c.before;
        EXPECT_THAT(journal().take(),
                    ElementsAre("plexa_query 100", "plexa_sf_set_status", "plexa_perform 100"));
    }
}

// The helper with another function in one slot of its table, for the length of a scope.
class ReplacedSlot {
  public:
    ReplacedSlot(NSCam::IGrallocHelper* helper, size_t slot, void* function)
        : mTable(*reinterpret_cast<void***>(helper)), mOriginal(mTable) {
        std::copy_n(mOriginal - 2, std::size(mCopy), mCopy);
        mCopy[2 + slot] = function;
        mTable = mCopy + 2;
    }
    ~ReplacedSlot() { mTable = mOriginal; }

  private:
    void**& mTable;
    void** mOriginal;
    void* mCopy[2 + 17];
};

int maskAsResult(const NSCam::IGrallocHelper*, const native_handle*, int mask, int) {
    return mask;
}

android::String8 otherName(const NSCam::IGrallocHelper*, int) {
    return android::String8("other");
}

TEST_F(BufferOperationsTest, CallsOfTheObjectsOwnGoThroughItsTable) {
    {
        const ReplacedSlot status(helper, 15, reinterpret_cast<void*>(maskAsResult));
        EXPECT_EQ(helper->setDirtyCamera(handle), 0xc03);
        EXPECT_EQ(helper->setColorspace_JFIF(handle), static_cast<int>(0xe0000000));
    }
    for (const auto& [slot, line] :
         {std::pair(7, "usage:0x00000000(0) format:0x00000001(other) -->"),
          {8, "usage:0x00000000(other) format:0x00000001(RGBA_8888) -->"}}) {
        const ReplacedSlot name(helper, slot, reinterpret_cast<void*>(otherName));
        describeBuffers({.format = 1, .width = 4, .height = 4, .stride = 4});
        setLog(kDebugLog);
        EXPECT_EQ(request({.format = 1, .widthInPixels = 4, .heightInPixels = 4}, true), 0);
        EXPECT_THAT(takeLog(), Contains(HasSubstr(line)));
    }
}

TEST_F(BufferOperationsTest, OnlyTheResultOfTheStoreCountsAFailedFetchIsNotLookedAt) {
    platformScript().status = 0xffffffff;
    platformScript().queryResults[PLEXA_GET_SF_INFO] = -1;
    EXPECT_EQ(helper->setColorspace_JFIF(handle), 0);
    EXPECT_EQ(platformScript().status, 0x40000000u) << "a record that holds just the edited bits";
    platformScript().performResults[PLEXA_SET_SF_INFO] = -77;
    EXPECT_EQ(helper->setDirtyCamera(handle), -77);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(BufferOperationsTest, AStartOfFrameIsStoredIn64Bits) {
    EXPECT_EQ(helper->setBufferSOF(handle, 0xfedcba9876543210), 0);
    EXPECT_EQ(platformScript().startOfFrame, 0xfedcba9876543210);
    platformScript().performResults[PLEXA_SET_SOF] = -5;
    EXPECT_EQ(helper->setBufferSOF(handle, 1), -5);
    EXPECT_THAT(takeLog(), IsEmpty());
}

}  // namespace

}  // namespace zelkcam::test
