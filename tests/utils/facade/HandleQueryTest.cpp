// The query by handle: a buffer that somebody else allocated.
#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class HandleQueryTest : public HelperTest {
  protected:
    HandleQueryTest() {
        describeBuffers({0x1, 64, 32, 64, 32, 8192, 0x33});
        platformScript().attributes[PLEXA_GET_ION_FD] = {42};
    }

    std::vector<int> fds() { return {dynamicInfo.ionFds.begin(), dynamicInfo.ionFds.end()}; }

    NSCam::GrallocDynamicInfo dynamicInfo;
};

TEST_F(HandleQueryTest, ANullHandleIsRefused) {
    EXPECT_EQ(helper->query(static_cast<const native_handle*>(nullptr), &info, &dynamicInfo), -22);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocHelper [query] NULL buffer_handle_t"));
    EXPECT_THAT(journal().take(), IsEmpty());
}

TEST_F(HandleQueryTest, DescriptorsAreAppendedToWhatEarlierQueriesLeftThere) {
    dynamicInfo.ionFds.add(7);
    EXPECT_EQ(describe(&dynamicInfo), 0);
    platformScript().attributes[PLEXA_GET_ION_FD] = {0};
    EXPECT_EQ(describe(&dynamicInfo), 0);
    EXPECT_THAT(fds(), ElementsAre(7, 42, 0));
}

TEST_F(HandleQueryTest, ALayoutIsDerivedOnceAndThenTakenFromTheCache) {
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(layout(), "0x1 64x32 8192/256");
    EXPECT_THAT(takeLog(), ElementsAre("W GrallocHelper [query] Not found: 64x32 RGBA_8888"));
    EXPECT_EQ(journal().take().size(), 20u) << "the attributes, twice";

    platformScript().attributes[PLEXA_GET_STRIDE] = {96};
    info = {};
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(layout(), "0x1 64x32 8192/256") << "the stride of the cached buffer";
    EXPECT_EQ(journal().take().size(), 10u) << "the attributes alone";

    platformScript().attributes[PLEXA_GET_HEIGHT] = {33};
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(layout(), "0x1 64x33 8192/384");
}

TEST_F(HandleQueryTest, WhatIsDerivedIsEnteredByItsOwnSizeUnlessThatIsKnown) {
    EXPECT_EQ(describe(), 0);
    // A buffer whose width is another one when it is read again.
    describeBuffers({0x1, 63, 32, 96, 32, 9999});
    platformScript().attributes[PLEXA_GET_WIDTH] = {63, 64};
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(layout(), "0x1 64x32 9999/384");
    platformScript().attributes[PLEXA_GET_WIDTH] = {64};
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(layout(), "0x1 64x32 8192/256") << "as it was entered first";
    describeBuffers({0x1, 63, 32, 96, 32, 5});
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(layout(), "0x1 63x32 5/384") << "not entered yet";
}

TEST_F(HandleQueryTest, EntriesAreSharedWithRequestsOfUsageZeroOnly) {
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(request({3, 0x1, 64, 32}), 0);
    EXPECT_TRUE(allocatorScript().requests.empty());
    describeBuffers({.format = 0x22, .width = 64, .height = 32});
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(request({3, 0x22, 64, 32}), 0);
    EXPECT_EQ(request({0, 0x22, 64, 32}), 0);
    EXPECT_EQ(allocatorScript().requests.size(), 1u);
}

TEST_F(HandleQueryTest, TheStaticInfoIsNotTestedOnAHitOnlyWhereTheLayoutWasNotKnownYet) {
    EXPECT_EQ(helper->query(handle, nullptr, &dynamicInfo), 0);
    EXPECT_THAT(fds(), ElementsAre(42));
    EXPECT_EQ(describe(), 0);
    EXPECT_EQ(layout(), "0x1 64x32 8192/256") << "the first query cached the layout";
    EXPECT_DEATH(helper->query(handle, nullptr, nullptr), "");
}

TEST_F(HandleQueryTest, AnUnreadableOrNegativeDescriptorFailsAfterTheStaticInfoWasWritten) {
    EXPECT_EQ(describe(), 0);
    for (const auto& [result, fd, text] :
         {std::tuple(0, -9, "] err:0 ionFd:-9"), {5, 42, "] err:5 ionFd:-1"}}) {
        takeLog();
        info = {};
        platformScript().queryResults[PLEXA_GET_ION_FD] = result;
        platformScript().attributes[PLEXA_GET_ION_FD] = {fd};
        EXPECT_EQ(describe(&dynamicInfo), kUnknownError);
        EXPECT_EQ(layout(), "0x1 64x32 8192/256");
        EXPECT_THAT(takeLog(),
                    ElementsAre(AllOf(HasSubstr("E GrallocHelper [query] [buffer_handle_t:0x"),
                                      EndsWith(text))));
    }
    EXPECT_THAT(fds(), IsEmpty());
}

TEST_F(HandleQueryTest, AnUnderivableLayoutAnswersTheFailureAndCachesNothing) {
    describeBuffers({.format = 0x2, .width = 64, .height = 32});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(describe(&dynamicInfo), -2);
        EXPECT_THAT(takeLog(), ElementsAre("W GrallocHelper [query] Not found: 64x32 RGBX_8888",
                                           HasSubstr("[queryStaticInfo] Not support format")));
    }
    EXPECT_THAT(fds(), IsEmpty());
    EXPECT_EQ(journal().times("plexa_query 1"), 0u);
}

}  // namespace

}  // namespace zelkcam::test
