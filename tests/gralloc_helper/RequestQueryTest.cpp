// The query by request: its probe, its cache, its dumps.
#include <barrier>
#include <future>
#include <thread>

#include "tests/gralloc_helper/HelperTest.h"

namespace zelkcam::test {

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using zcam::GrallocRequest;

constexpr GrallocRequest kRgba = {0, 1, 64, 32};
constexpr char kRgbaLayout[] = "0x1 64x32 8192/256";

class RequestQueryTest : public HelperTest {
  protected:
    void SetUp() override {
        HelperTest::SetUp();
        describeBuffers({0x1, 64, 32, 64, 32, 8192, 0x33});
    }

    size_t probes() { return allocatorScript().requests.size(); }

    // The keys in the order of the dump, as "format usage width x height".
    std::vector<std::string> cachedKeys() {
        setLog(kDebugLog);
        takeLog();
        helper->dumpToLog();
        std::vector<std::string> keys;
        for (const std::string& line : takeLog()) {
            int width = 0, height = 0;
            unsigned usage = 0, format = 0;
            if (line.ends_with("-->") &&
                sscanf(line.c_str(), "D GrallocHelper [dump] %dx%d usage:%x(%*[^)]) format:%x",
                       &width, &height, &usage, &format) == 4)
                keys.push_back((std::ostringstream() << std::hex << format << " " << usage
                                                     << std::dec << " " << width << "x" << height)
                                       .str());
        }
        return keys;
    }

    // Makes the probe resolve to `format` whatever was asked.
    int requestResolving(int32_t format, const GrallocRequest& asked) {
        describeBuffers({format, asked.widthInPixels, asked.heightInPixels});
        return request(asked);
    }
};

TEST_F(RequestQueryTest, NullArgumentsAreRefusedBeforeAnythingElse) {
    EXPECT_EQ(helper->query(nullptr, &info, false), -22);
    EXPECT_EQ(helper->query(nullptr, static_cast<zcam::GrallocStaticInfo*>(nullptr), false), -22);
    EXPECT_EQ(helper->query(&kRgba, nullptr, false), -22);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocHelper [query] NULL pRequest",
                                       "E GrallocHelper [query] NULL pRequest",
                                       "E GrallocHelper [query] NULL pStaticInfo"));
    EXPECT_THAT(journal().take(), IsEmpty());
}

TEST_F(RequestQueryTest, TheProbeIsAllocatedFromTheKeyAndAnswersTheLayout) {
    EXPECT_EQ(request(kRgba), 0);
    EXPECT_EQ(layout(), kRgbaLayout);
    ASSERT_EQ(probes(), 1u);
    const auto& probe = allocatorScript().requests[0];
    EXPECT_EQ(static_cast<int>(probe.format), 1);
    EXPECT_EQ(static_cast<int64_t>(probe.usage), 0);
    EXPECT_EQ(probe.width, 64);
    EXPECT_EQ(probe.height, 32);
    EXPECT_EQ(probe.layerCount, 1);
}

// Platform calls of one cold request of a format that is located by a lock.
Calls coldCalls(const char* firstRead, const char* secondRead) {
    Calls calls = {"systemTime 1",   "allocate2",      "flush",          "importBuffer",
                   "flush",          "flush",          "systemTime 1",   "plexa_query 15",
                   "plexa_query 17", "plexa_query 10", "plexa_query 11", "plexa_query 12",
                   "plexa_query 13", "plexa_query 14", "plexa_query 52", "plexa_query 12",
                   "plexa_query 11"};
    for (int i = 0; i < 2; ++i) {
        calls.insert(calls.end(), {firstRead, "flush"});
        if (secondRead != nullptr)
            calls.insert(calls.end(), {secondRead, "flush"});
    }
    calls.insert(calls.end(), {"lock usage=3 rect=0,0,64,32 fence=-1", "flush", "unlock", "flush",
                               "sync_wait -1", "close -1", "freeBuffer", "flush", "flush"});
    return calls;
}

TEST_F(RequestQueryTest, AColdRequestMakesTheseCallsInThisOrderAndAHitNone) {
    using enum PlaneLayoutComponentType;
    setLog({.details = 0});
    const struct {
        int32_t format;
        std::vector<PlaneLayout> planes;
        Calls expected;
    } cases[] = {
            {0x11,
             {plane(0, 8, 64, {component(Y, 0)}),
              plane(2048, 16, 64, {component(CR, 0), component(CB, 8)})},
             coldCalls("getStandardMetadata 15 512", nullptr)},
            // Three planes take more than the 512 bytes of the first guess.
            {0x32315659,
             {plane(0, 8, 64, {component(Y, 0)}), plane(2048, 8, 32, {component(CR, 0)}),
              plane(2560, 8, 32, {component(CB, 0)})},
             coldCalls("getStandardMetadata 15 512", "getStandardMetadata 15 560")},
    };
    for (const auto& c : cases) {
        describePlanes(c.planes);
        describeBuffers({.format = c.format, .width = 64, .height = 32, .allocSize = 4096});
        EXPECT_EQ(request({0, c.format, 64, 32}), 0);
        EXPECT_THAT(journal().take(), ElementsAreArray(c.expected));
        const std::string first = layout();
        info = {};
        EXPECT_EQ(request({0, c.format, 64, 32}), 0);
        EXPECT_THAT(journal().take(), IsEmpty());
        EXPECT_EQ(layout(), first);
    }
}

TEST_F(RequestQueryTest, UsageCountsOnlyForTheTwoFormatsThatItResolves) {
    for (const int32_t format : {0x1, 0x21, 0x24}) {
        for (const uint32_t usage : {0u, 3u, 0x80000000u})
            EXPECT_EQ(request({usage, format, 64, 32}), 0);
        EXPECT_EQ(static_cast<int64_t>(allocatorScript().requests.back().usage), 0);
    }
    EXPECT_EQ(probes(), 3u);
    for (const int32_t format : {0x22, 0x23}) {
        for (const uint32_t usage : {0u, 3u, 0x80000000u})
            EXPECT_EQ(request({usage, format, 64, 32}), 0);
        EXPECT_EQ(static_cast<int64_t>(allocatorScript().requests.back().usage), 0x80000000)
                << "widened with zeros";
    }
    EXPECT_EQ(probes(), 9u);
    EXPECT_EQ(request({3, 1, 65, 32}), 0);
    EXPECT_EQ(request({3, 1, 64, 33}), 0);
    EXPECT_EQ(probes(), 11u);
}

TEST_F(RequestQueryTest, AResolvedFormatIsSeededUnlessItIsKnown) {
    EXPECT_EQ(requestResolving(0x1000, {7, 0x23, 640, 480}), 0);
    EXPECT_EQ(request({9, 0x1000, 640, 480}), 0);
    EXPECT_EQ(probes(), 1u) << "answered from the seed";
    EXPECT_EQ(requestResolving(0x1000, {8, 0x22, 640, 480}), 0);
    EXPECT_THAT(cachedKeys(), ElementsAre("22 8 640x480", "23 7 640x480", "1000 0 640x480"));

    // The seed goes by the size asked for, not the one the buffer reports, and does not replace.
    helper->clearMap();
    describeBuffers({0x21, 9, 9, 0, 0, 1});
    request({0, 0x21, 640, 480});
    describeBuffers({0x21, 9, 9, 0, 0, 2});
    request({0, 0x22, 640, 480});
    request({0, 0x21, 640, 480});
    EXPECT_EQ(info.planes.at(0).sizeInBytes, 1u);
    EXPECT_THAT(cachedKeys(), ElementsAre("21 0 640x480", "22 0 640x480"));
}

TEST_F(RequestQueryTest, KeysAreOrderedByFormatUsageWidthHeightEachComparedSigned) {
    const GrallocRequest asked[] = {
            {5, 0x22, 1, 1}, {0x80000000, 0x22, 9, 9},
            {0, 0x22, 9, 9}, {0, 1, 7, 2},
            {0, 1, 7, 1},    {0, 1, -7, 3},
            {0, -5, 1, 1},   {0x7FFFFFFF, 0x22, 0, 0},
            {0, 1, 7, -1},
    };
    for (const GrallocRequest& r : asked)
        EXPECT_EQ(requestResolving(1, r), 0);
    EXPECT_THAT(cachedKeys(),
                ElementsAre("fffffffb 0 1x1", "1 0 -7x3", "1 0 0x0", "1 0 1x1", "1 0 7x-1",
                            "1 0 7x1", "1 0 7x2", "1 0 9x9", "22 80000000 9x9", "22 0 9x9",
                            "22 5 1x1", "22 7fffffff 0x0"));
}

TEST_F(RequestQueryTest, AForcedRequestProbesAgainAndReplacesTheEntry) {
    EXPECT_EQ(request(kRgba, true), 0) << "an unknown one is an ordinary first request";
    describeBuffers({0x1, 64, 32, 128, 32, 9});
    EXPECT_EQ(request(kRgba), 0);
    EXPECT_EQ(layout(), kRgbaLayout);
    for (const bool force : {true, false}) {
        EXPECT_EQ(request(kRgba, force), 0);
        EXPECT_EQ(layout(), "0x1 64x32 9/512");
    }
    EXPECT_EQ(probes(), 2u);
    EXPECT_THAT(cachedKeys(), ElementsAre("1 0 64x32"));
    helper->clearMap();
    EXPECT_THAT(takeLog(), ElementsAre("I GrallocHelper [clearMap] Clear the stream info map"));
    EXPECT_THAT(cachedKeys(), IsEmpty());
    EXPECT_EQ(request(kRgba), 0);
    EXPECT_EQ(probes(), 3u);
}

TEST_F(RequestQueryTest, AFailedForcedRequestLeavesItGoneTheNextRequestThenProbesAgain) {
    EXPECT_EQ(request(kRgba), 0);
    allocatorScript().allocateStatus = [] { return ndk::ScopedAStatus(); };
    EXPECT_EQ(request(kRgba, true), -12);
    EXPECT_THAT(cachedKeys(), IsEmpty());
    allocatorScript().allocateStatus = nullptr;
    EXPECT_EQ(request(kRgba), 0);
    EXPECT_EQ(probes(), 3u);
}

TEST_F(RequestQueryTest, AFailedProbeIsToldCachedNothingAndFreedOnceItWasAllocated) {
    const GrallocRequest asked = {0x30003, 0x22, 64, 32};
    const std::string tail =
            " 64x32 format:0x22(IMPLEMENTATION_DEFINED) "
            "usage:0x30003(0|SW_READ_OFTEN|HW_CAMERA_WRITE|HW_VIDEO_ENCODER)";
    info.format = 77;

    allocatorScript().allocateStatus = [] {
        return ndk::ScopedAStatus::fromServiceSpecificError(0);
    };
    EXPECT_EQ(request(asked), -12);
    EXPECT_THAT(takeLog().back(),
                AnyOf("E GrallocHelper [determine] Bad allcation handle:(nil)" + tail,
                      "E GrallocHelper [determine] Bad allcation handle:0x0" + tail));

    // A handle that comes with a failure is not freed: it is whatever the mapper left there.
    allocatorScript().allocateStatus = nullptr;
    mapperScript().importResults = {3};
    mapperScript().failedImport = reinterpret_cast<const native_handle*>(0x1234);
    EXPECT_EQ(request(asked), -12);
    EXPECT_EQ(takeLog().back(), "E GrallocHelper [determine] Bad allcation handle:0x1234" + tail);
    EXPECT_EQ(journal().times("freeBuffer"), 0u);

    // Success without a handle.
    mapperScript().importGivesNull = true;
    mapperScript().failedImport = nullptr;
    EXPECT_EQ(request(asked), -12);
    EXPECT_EQ(journal().times("freeBuffer"), 0u);
    mapperScript().importGivesNull = false;

    const std::pair<int32_t, int> formats[] = {{0x2, -2}, {0x23, kUnknownError}};
    for (const auto& [format, result] : formats) {
        journal().take();
        EXPECT_EQ(requestResolving(format, asked), result);
        EXPECT_EQ(journal().times("freeBuffer"), 1u);
    }
    journal().take();
    takeLog();
    platformScript().queryResults[PLEXA_GET_WIDTH] = 1;
    EXPECT_EQ(request(asked), kUnknownError);
    EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("[gQueryExtra] Given buffer_handle_t:"),
                                       EndsWith("plexa_query returns -2147483648")));
    EXPECT_EQ(journal().times("freeBuffer"), 1u);

    EXPECT_EQ(info.format, 77) << "written on success only";
    EXPECT_THAT(cachedKeys(), IsEmpty());
}

TEST_F(RequestQueryTest, AnEntryIsDumpedAsItIsAdded) {
    setLog(kDebugLog);
    platformScript().clock = {1'000'000, 3'999'999};
    EXPECT_EQ(request({0x20003, 0x22, 64, 32}), 0);
    std::vector<std::string> expected = {
            "[query] Grallc Request: u(0x20003) f(0x22) w(64) h(32)",
            "[dump] " + std::string(77, '*'),
            "[dump] !!!gralloc time: 2999 us",
            "[dump] 64x32 usage:0x00020003(0|SW_READ_OFTEN|HW_CAMERA_WRITE) "
            "format:0x00000022(IMPLEMENTATION_DEFINED) -->",
            "[dump] 64x32 usage:0x00000033(0|SW_READ_OFTEN|SW_WRITE_OFTEN) "
            "format:0x00000001(RGBA_8888)",
            "[dump]   [0] sizeInBytes:8192 rowStrideInBytes:256",
            "[dump] " + std::string(77, '*'),
            "[dump] !!!gralloc time: 2999 us",
            "[dump] 64x32 usage:0x00000000(0) format:0x00000001(RGBA_8888) -->",
            "[dump] 64x32 usage:0x00000033(0|SW_READ_OFTEN|SW_WRITE_OFTEN) "
            "format:0x00000001(RGBA_8888)",
            "[dump]   [0] sizeInBytes:8192 rowStrideInBytes:256",
    };
    std::vector<std::string> log = takeLog();
    std::erase_if(log,
                  [](const std::string& line) { return !line.starts_with("D GrallocHelper "); });
    for (std::string& line : expected)
        line = "D GrallocHelper " + line;
    EXPECT_THAT(log, ElementsAreArray(expected));

    helper->dumpToLog();
    log = takeLog();
    ASSERT_EQ(log.size(), 12u);
    EXPECT_EQ(log.front(), "D GrallocHelper [dumpToLog] +");
    EXPECT_EQ(log.back(), "D GrallocHelper [dumpToLog] -");
    setLog({.details = 4});
    helper->dumpToLog();
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(RequestQueryTest, ARunningProbeHoldsTheCacheButNothingElse) {
    EXPECT_EQ(request(kRgba), 0);
    std::future<int> hit;
    allocatorScript().onAllocate = [&] {
        // These take no lock: they would wait for themselves here.
        EXPECT_STREQ(helper->queryPixelFormatName(1).c_str(), "RGBA_8888");
        EXPECT_EQ(helper->setDirtyCamera(handle), 0);
        EXPECT_EQ(helper->unlock(handle), 0);
        EXPECT_EQ(helper->query(static_cast<const native_handle*>(nullptr), &info, nullptr), -22);
        platformScript().queryResults[PLEXA_GET_FORMAT] = 1;
        EXPECT_EQ(describe(), kUnknownError);
        platformScript().queryResults.clear();
        hit = std::async(std::launch::async, [&] {
            zcam::GrallocStaticInfo answer;
            return helper->query(&kRgba, &answer, false);
        });
        EXPECT_EQ(hit.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    };
    EXPECT_EQ(request({0, 1, 1, 1}), 0);
    EXPECT_EQ(hit.get(), 0);
}

TEST_F(RequestQueryTest, ManyThreadsThatAskForOneLayoutProbeOnce) {
    std::barrier start(8);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            start.arrive_and_wait();
            zcam::GrallocStaticInfo answer;
            EXPECT_EQ(helper->query(&kRgba, &answer, false), 0);
            EXPECT_EQ(answer.planes.size(), 1u);
        });
    threads.clear();
    EXPECT_EQ(probes(), 1u);
}

}  // namespace

}  // namespace zelkcam::test
