// Finding the mapper. Each case needs a process that has not found it yet, so it runs in one of its
// own and says by its exit status how it went.
#include <link.h>

#include <latch>
#include <thread>

#include "tests/plexa/ScriptedBuffer.h"

namespace zelkcam::test {
namespace {

class MapperSearchTest : public testing::Test {
  protected:
    MapperSearchTest() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        setenv("ZELKCAM_HOST_SERVICES", "none", 1);
        describe<StandardMetadataType::WIDTH>(uint64_t{320});
    }

    static bool answersWidth() {
        const native_handle_t handle{.version = 12, .numFds = 0, .numInts = 0, .data = {}};
        uint32_t width = 0;
        return plexa_query(&handle, PLEXA_GET_WIDTH, &width) == 0 && width == 320;
    }
};

bool isLoaded(std::string library) {
    const auto isIt = [](dl_phdr_info* loaded, size_t, void* name) {
        return static_cast<int>(
                std::string(loaded->dlpi_name).ends_with(*static_cast<const std::string*>(name)));
    };
    return dl_iterate_phdr(isIt, &library) != 0;
}

[[noreturn]] void finish() {
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST_F(MapperSearchTest, IsMadeAgainAfterAFailureAndNeverAfterSuccess) {
    const auto body = [] {
        EXPECT_FALSE(answersWidth()) << "no service";
        registerScriptedAllocator();
        AllocatorScript& service = allocatorScript();
        service.suffixStatus = [] { return ndk::ScopedAStatus::fromServiceSpecificError(0); };
        EXPECT_FALSE(answersWidth()) << "no suffix";
        service.suffixStatus = nullptr;
        service.suffix = "absent";
        EXPECT_FALSE(answersWidth()) << "no library";
        service.suffix = "empty";
        EXPECT_FALSE(answersWidth()) << "a library that is no mapper";
        service.suffix = "scripted";
        mapperScript().entryGivesNull = true;
        EXPECT_FALSE(answersWidth()) << "an entry without a mapper";
        EXPECT_FALSE(isLoaded("mapper.scripted.so")) << "kept though of no use";
        mapperScript().entryGivesNull = false;
        EXPECT_TRUE(answersWidth());
        EXPECT_TRUE(isLoaded("mapper.scripted.so"));
        EXPECT_EQ(journal().calls("getIMapperLibrarySuffix"), 5);
        service.suffix = "absent";
        EXPECT_TRUE(answersWidth());
        EXPECT_EQ(journal().calls("getIMapperLibrarySuffix"), 5);
        finish();
    };
    EXPECT_EXIT(body(), testing::ExitedWithCode(0), "");
}

TEST_F(MapperSearchTest, IsMadeOnceByManyThreads) {
    const auto body = [] {
        registerScriptedAllocator();
        constexpr int kThreads = 8;
        std::latch start(kThreads);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                start.arrive_and_wait();
                for (int n = 0; n < 100; ++n) {
                    EXPECT_TRUE(answersWidth());
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(journal().calls("AIMapper_loadIMapper"), 1);
        finish();
    };
    EXPECT_EXIT(body(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zelkcam::test
