// Finding the mapper: in a process that has not found it yet, whose exit status tells how it went.
#include <link.h>

#include <csignal>
#include <new>

#include "tests/plexa/ScriptedBuffer.h"

namespace zelkcam::test {
namespace {

bool answersWidth() {
    const native_handle_t handle{.version = 12, .numFds = 0, .numInts = 0, .data = {}};
    uint32_t width = 0;
    return plexa_query(&handle, PLEXA_GET_WIDTH, &width) == 0 && width == 320;
}

bool isLoaded(std::string library) {
    const auto isIt = [](dl_phdr_info* loaded, size_t, void* name) {
        return static_cast<int>(
                std::string(loaded->dlpi_name).ends_with(*static_cast<const std::string*>(name)));
    };
    return dl_iterate_phdr(isIt, &library) != 0;
}

[[noreturn]] void search() {
    EXPECT_FALSE(answersWidth()) << "no service";
    registerScriptedAllocator();
    AllocatorScript& service = allocatorScript();
    service.suffixStatus = [] { return ndk::ScopedAStatus::fromServiceSpecificError(0); };
    EXPECT_FALSE(answersWidth()) << "no suffix";
    service.suffixStatus = nullptr;
    for (const char* const suffix : {"absent", "empty"}) {
        service.suffix = suffix;
        EXPECT_FALSE(answersWidth()) << "no library, or none that is a mapper";
    }
    service.suffix = "scripted";
    mapperScript().entryGivesNull = true;
    EXPECT_FALSE(answersWidth()) << "an entry without a mapper";
    mapperScript().entryGivesNull = false;
    mapperScript().version = 4;
    EXPECT_FALSE(answersWidth()) << "a mapper of an older interface";
    EXPECT_FALSE(isLoaded("mapper.scripted.so")) << "kept though of no use";
    mapperScript().version = AIMAPPER_VERSION_5;
    EXPECT_TRUE(answersWidth());
    EXPECT_TRUE(isLoaded("mapper.scripted.so"));
    service.suffix = "absent";
    EXPECT_TRUE(answersWidth());
    EXPECT_EQ(journal().calls("getIMapperLibrarySuffix"), 6);
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

// Whoever caught the exception would hang at its next query.
TEST(MapperSearch, EndsTheProcessWhenAnExceptionMeetsItsLock) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    const auto catchIt = [] {
        registerScriptedAllocator();
        allocatorScript().suffixStatus = []() -> ndk::ScopedAStatus { throw std::bad_alloc(); };
        try {
            answersWidth();
        } catch (const std::bad_alloc&) {
            _exit(0);
        }
    };
    EXPECT_EXIT(catchIt(), testing::KilledBySignal(SIGABRT), "");
}

TEST(MapperSearch, IsMadeAgainAfterAFailureAndNeverAfterSuccess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    describe<StandardMetadataType::WIDTH>(uint64_t{320});
    EXPECT_EXIT(search(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zelkcam::test
