// The query by request: its probe, its cache, its dumps.
#include <csignal>
#include <future>
#include <new>

#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using zcam::GrallocRequest;

constexpr GrallocRequest kRgba = {0, 1, 64, 32};
constexpr char kRgbaLayout[] = "0x1 64x32 8192/256";

class RequestQueryTest : public HelperTest {
  protected:
    RequestQueryTest() { describeBuffers({0x1, 64, 32, 64, 32, 8192, 0x33}); }

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
                       &width, &height, &usage, &format) == 4) {
                keys.push_back((std::ostringstream() << std::hex << format << " " << usage
                                                     << std::dec << " " << width << "x" << height)
                                       .str());
            }
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

TEST_F(RequestQueryTest, AColdRequestMakesTheseCallsInThisOrderAndAHitNone) {
    using enum PlaneLayoutComponentType;
    setLog({.details = 0});
    const WatchedFd fence("release");
    mapperScript().unlockFence = fence.get();
    describePlanes({plane(0, 8, 64, {component(Y, 0)}),
                    plane(2048, 16, 64, {component(CR, 0), component(CB, 8)})});
    describeBuffers({.format = 0x11, .width = 64, .height = 32, .allocSize = 4096});
    EXPECT_EQ(request({7, 0x11, 64, 32}), 0);
    const char* const kRead = "getStandardMetadata 15 512";
    EXPECT_THAT(
            journal().take(),
            ElementsAre("systemTime 1", "allocate2", "flush", "importBuffer", "flush", "flush",
                        "systemTime 1", "plexa_query 15", "plexa_query 17", "plexa_query 10",
                        "plexa_query 11", "plexa_query 12", "plexa_query 13", "plexa_query 14",
                        "plexa_query 52", "plexa_query 12", "plexa_query 11", kRead, "flush", kRead,
                        "flush", "lock usage=3 rect=0,0,64,32 fence=-1", "flush", "unlock", "flush",
                        "sync_wait release", "close release", "freeBuffer", "flush", "flush"));
    const std::string first = layout();
    info = {};
    EXPECT_EQ(request({7, 0x11, 64, 32}), 0);
    EXPECT_THAT(journal().take(), IsEmpty());
    EXPECT_EQ(layout(), first);

    const auto& probe = allocatorScript().requests.back();
    EXPECT_EQ(static_cast<int32_t>(probe.format), 0x11);
    EXPECT_EQ(static_cast<int64_t>(probe.usage), 0) << "of the key";
    EXPECT_EQ(std::pair(probe.width, probe.height), std::pair(64, 32));
    EXPECT_EQ(probe.layerCount, 1);
}

TEST_F(RequestQueryTest, UsageCountsOnlyForTheTwoFormatsThatItResolves) {
    for (const auto& [format, expected, usage] : {std::tuple(0x1, 1u, 0l),
                                                  {0x21, 1u, 0l},
                                                  {0x24, 1u, 0l},
                                                  {0x22, 3u, 0x80000000l},
                                                  {0x23, 3u, 0x80000000l}}) {
        const size_t before = probes();
        for (const uint32_t asked : {0u, 3u, 0x80000000u}) {
            EXPECT_EQ(request({asked, format, 64, 32}), 0);
        }
        EXPECT_EQ(probes() - before, expected);
        EXPECT_EQ(static_cast<int64_t>(allocatorScript().requests.back().usage), usage)
                << "widened with zeros";
    }
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
    for (const GrallocRequest& r : asked) {
        EXPECT_EQ(requestResolving(1, r), 0);
    }
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

    // One that fails leaves the entry gone: the next request then probes again.
    allocatorScript().allocateResult = 1;
    EXPECT_EQ(request(kRgba, true), -12);
    EXPECT_THAT(cachedKeys(), IsEmpty());
    allocatorScript().allocateResult = 0;
    EXPECT_EQ(request(kRgba), 0);
    EXPECT_EQ(probes(), 4u);

    helper->clearMap();
    EXPECT_EQ(takeLog().back(), "I GrallocHelper [clearMap] Clear the stream info map");
    EXPECT_THAT(cachedKeys(), IsEmpty());
    EXPECT_EQ(request(kRgba), 0);
    EXPECT_EQ(probes(), 5u);
}

TEST_F(RequestQueryTest, AFailedAllocationIsToldAndFreesNothing) {
    const struct {
        int32_t refusal;
        std::deque<int32_t> importResults;
        bool importGivesNull;
        const char* handle;
    } cases[] = {
            {1, {}, false, "(nil)"},
            {0, {3}, false, "0x1234"},  // whatever the mapper left there
            {0, {}, true, "(nil)"},
    };
    info.format = 77;
    for (const auto& c : cases) {
        allocatorScript().allocateResult = c.refusal;
        mapperScript().importResults = c.importResults;
        mapperScript().importGivesNull = c.importGivesNull;
        mapperScript().failedImport =
                c.importGivesNull ? nullptr : reinterpret_cast<const native_handle*>(0x1234);
        EXPECT_EQ(request({0x30003, 0x22, 64, 32}), -12);
        EXPECT_EQ(takeLog().back(),
                  std::string("E GrallocHelper [determine] Bad allcation handle:") + c.handle +
                          " 64x32 format:0x22(IMPLEMENTATION_DEFINED) "
                          "usage:0x30003(0|SW_READ_OFTEN|HW_CAMERA_WRITE|HW_VIDEO_ENCODER)");
    }
    EXPECT_EQ(journal().times("freeBuffer"), 0u);
    EXPECT_EQ(info.format, 77) << "written on success only";
    EXPECT_THAT(cachedKeys(), IsEmpty());
}

TEST_F(RequestQueryTest, AFailedDerivationAnswersItsResultAndFreesTheProbe) {
    info.format = 77;
    for (const auto& [format, result] : {std::pair(0x2, -2), {0x23, kUnknownError}}) {
        EXPECT_EQ(requestResolving(format, {3, 0x22, 64, 32}), result);
        EXPECT_EQ(journal().times("freeBuffer"), 1u);
        journal().take();
    }
    takeLog();
    platformScript().queryResults[PLEXA_GET_WIDTH] = 1;
    EXPECT_EQ(request({3, 0x22, 64, 32}), kUnknownError);
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
    std::vector<std::string> expected = {"[query] Grallc Request: u(0x20003) f(0x22) w(64) h(32)"};
    for (const char* const asked : {"64x32 usage:0x00020003(0|SW_READ_OFTEN|HW_CAMERA_WRITE) "
                                    "format:0x00000022(IMPLEMENTATION_DEFINED) -->",
                                    "64x32 usage:0x00000000(0) format:0x00000001(RGBA_8888) -->"}) {
        expected.insert(expected.end(),
                        {"[dump] " + std::string(77, '*'), "[dump] !!!gralloc time: 2999 us",
                         std::string("[dump] ") + asked,
                         "[dump] 64x32 usage:0x00000033(0|SW_READ_OFTEN|SW_WRITE_OFTEN) "
                         "format:0x00000001(RGBA_8888)",
                         "[dump]   [0] sizeInBytes:8192 rowStrideInBytes:256"});
    }
    std::vector<std::string> log = takeLog();
    std::erase_if(log,
                  [](const std::string& line) { return !line.starts_with("D GrallocHelper "); });
    for (std::string& line : log) {
        line.erase(0, strlen("D GrallocHelper "));
    }
    EXPECT_EQ(log, expected);

    helper->dumpToLog();
    log = takeLog();
    ASSERT_EQ(log.size(), 12u);
    EXPECT_EQ(log.front(), "D GrallocHelper [dumpToLog] +");
    EXPECT_EQ(log.back(), "D GrallocHelper [dumpToLog] -");
}

// A client that caught the exception would hang at its next query.
TEST_F(RequestQueryTest, AnExceptionUnderTheLockEndsTheProcess) {
    allocatorScript().onAllocate = mapperScript().onLock = [] { throw std::bad_alloc(); };
    describeBuffers({.format = 0x11, .width = 64, .height = 32});
    describePlanes({plane(0, 8, 64, {})});
    const auto survives = [](auto query) {
        try {
            query();
        } catch (const std::bad_alloc&) {
        }
        exit(0);
    };
    EXPECT_EXIT(survives([&] { request(kRgba); }), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(survives([&] { describe(); }), testing::KilledBySignal(SIGABRT), "");
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

}  // namespace

}  // namespace zelkcam::test
