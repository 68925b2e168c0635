// The query by handle: a buffer that somebody else allocated.
#include "tests/gralloc_helper/HelperTest.h"

namespace zelkcam::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HandleQueryTest : public HelperTest {
  protected:
    void SetUp() override {
        HelperTest::SetUp();
        describeBuffers({.format = 1,
                         .width = 64,
                         .height = 32,
                         .stride = 64,
                         .verticalStride = 32,
                         .allocSize = 8192,
                         .usage = 0x33});
        plexaScript().values[PLEXA_GET_ION_FD] = {42};
    }

    static std::vector<int> fds(const NSCam::GrallocDynamicInfo& dynamicInfo) {
        return {dynamicInfo.ionFds.begin(), dynamicInfo.ionFds.end()};
    }
};

TEST_F(HandleQueryTest, ANullHandleIsRefused) {
    NSCam::GrallocDynamicInfo dynamicInfo;
    EXPECT_EQ(helper->query(static_cast<const native_handle*>(nullptr), &info, &dynamicInfo), -22);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocHelper [query] NULL buffer_handle_t"));
    EXPECT_EQ(journal().times("plexa_query 15"), 0u);
}

TEST_F(HandleQueryTest, DescriptorsAreAppendedToWhatEarlierQueriesLeftThere) {
    NSCam::GrallocDynamicInfo dynamicInfo;
    dynamicInfo.ionFds.add(7);
    EXPECT_EQ(describe(&dynamicInfo), 0);
    plexaScript().values[PLEXA_GET_ION_FD] = {0};
    EXPECT_EQ(describe(&dynamicInfo), 0);
    EXPECT_THAT(fds(dynamicInfo), ElementsAre(7, 42, 0));
}

TEST_F(HandleQueryTest, ALayoutIsDerivedOnceAndThenTakenFromTheCache) {
    EXPECT_EQ(describe(), 0);
    EXPECT_THAT(takeLog(), ElementsAre("W GrallocHelper [query] Not found: 64x32 RGBA_8888"));
    EXPECT_EQ(journal().times("plexa_query 15"), 2u);
    EXPECT_EQ(journal().times("plexa_query 1"), 0u);
    EXPECT_EQ(journal().times("allocate2"), 0u);
    journal().take();

    plexaScript().values[PLEXA_GET_STRIDE] = {96};
    info = {};
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(info.planes.at(0).rowStrideInBytes, 256u) << "the cached buffer's stride";
    EXPECT_EQ(info.format, 1);
    EXPECT_EQ(journal().take().size(), 10u) << "the attributes alone";

    plexaScript().values[PLEXA_GET_HEIGHT] = {33};
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(info.planes.at(0).rowStrideInBytes, 384u);
    EXPECT_EQ(info.heightInPixels, 33);
}

TEST_F(HandleQueryTest, EntriesAreSharedWithRequestsOfUsageZeroOnly) {
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(request({.usage = 3, .format = 1, .widthInPixels = 64, .heightInPixels = 32}), 0);
    EXPECT_TRUE(allocatorScript().requests.empty());

    describeBuffers({.format = 0x22, .width = 64, .height = 32});
    EXPECT_EQ(request({.usage = 3, .format = 0x22, .widthInPixels = 64, .heightInPixels = 32}), 0);
    EXPECT_EQ(allocatorScript().requests.size(), 1u);
    takeLog();
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(request({.usage = 4, .format = 0x22, .widthInPixels = 64, .heightInPixels = 32}), 0);
    EXPECT_EQ(allocatorScript().requests.size(), 2u);
}

TEST_F(HandleQueryTest, TheStaticInfoIsNotTestedOnAHitOnlyWhereTheLayoutWasNotKnownYet) {
    NSCam::GrallocDynamicInfo dynamicInfo;
    EXPECT_EQ(helper->query(handle, nullptr, &dynamicInfo), 0);
    EXPECT_THAT(fds(dynamicInfo), ElementsAre(42));
    EXPECT_EQ(helper->query(handle, &info, nullptr), 0);
    EXPECT_EQ(info.planes.size(), 1u) << "the first query cached the layout";
    EXPECT_DEATH(helper->query(handle, nullptr, nullptr), "");
}

TEST_F(HandleQueryTest, AnUnreadableOrNegativeDescriptorFailsAfterTheStaticInfoWasWritten) {
    const struct {
        int result, fd;
        const char* text;
    } cases[] = {
            {0, -1, "] err:0 ionFd:-1"}, {0, -9, "] err:0 ionFd:-9"}, {5, 42, "] err:5 ionFd:-1"}};
    EXPECT_EQ(describe(), 0);
    for (const auto& c : cases) {
        takeLog();
        info = {};
        NSCam::GrallocDynamicInfo dynamicInfo;
        plexaScript().results[PLEXA_GET_ION_FD] = c.result;
        plexaScript().values[PLEXA_GET_ION_FD] = {c.fd};
        EXPECT_EQ(describe(&dynamicInfo), kUnknownError);
        EXPECT_EQ(info.planes.size(), 1u);
        EXPECT_THAT(fds(dynamicInfo), IsEmpty());
        const auto log = takeLog();
        ASSERT_EQ(log.size(), 1u);
        EXPECT_THAT(log[0], HasSubstr("E GrallocHelper [query] [buffer_handle_t:0x"));
        EXPECT_THAT(log[0], testing::EndsWith(c.text));
    }
    // Success that writes nothing leaves -1.
    plexaScript().results.clear();
    plexaScript().values[PLEXA_GET_ION_FD].clear();
    NSCam::GrallocDynamicInfo dynamicInfo;
    EXPECT_EQ(describe(&dynamicInfo), kUnknownError);
}

TEST_F(HandleQueryTest, AnUnderivableLayoutAnswersTheFailureAndCachesNothing) {
    NSCam::GrallocDynamicInfo dynamicInfo;
    describeBuffers({.format = 0x2, .width = 64, .height = 32});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(describe(&dynamicInfo), -2);
        EXPECT_THAT(takeLog(), ElementsAre("W GrallocHelper [query] Not found: 64x32 RGBX_8888",
                                           "E GrallocHelper [queryStaticInfo] Not support format: "
                                           "0x2(RGBX_8888)"));
    }
    EXPECT_THAT(fds(dynamicInfo), IsEmpty());
    EXPECT_EQ(journal().times("plexa_query 1"), 0u);
    // An attribute that fails at the second record only: told twice, under two names.
    describeBuffers({.format = 0x2});
    plexaScript().failFrom = 11;
    EXPECT_EQ(describe(), kUnknownError);
    const auto log = takeLog();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_THAT(log[1], HasSubstr("[gQueryExtra] Given buffer_handle_t:"));
    EXPECT_THAT(log[2], HasSubstr("[queryStaticInfo] Given buffer_handle_t:"));
    EXPECT_THAT(log[2], testing::EndsWith("plexa_query returns -2147483648"));
}

TEST_F(HandleQueryTest, TheNotFoundWarningIsGatedByTheLevelAlone) {
    setLog({.details = 1});
    EXPECT_EQ(describe(), 0);
    EXPECT_THAT(takeLog(), IsEmpty());
    helper->clearMap();
    setLog({.details = 2, .mask = 0});
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(takeLog().size(), 1u);
}

}  // namespace

}  // namespace zelkcam::test
