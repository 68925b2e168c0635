// Loading of vendor libraries, and the switchboard that every library's start-up code may write to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vndksupport/linker.h>

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <android/binder_manager.h>
#include <android/log.h>

#include "platform/ulog.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> gLog;

}  // namespace

// Takes the place of liblog's.
int __android_log_print(int priority, const char* tag, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    gLog.push_back(std::to_string(priority) + " " + tag + " " + text);
    return 1;
}

namespace {

constexpr int kFlag = RTLD_LOCAL | RTLD_NOW;

std::string pathOf(const void* address) {
    Dl_info info = {};
    EXPECT_NE(0, dladdr(address, &info));
    return std::filesystem::canonical(info.dli_fname);
}

class SphalTest : public testing::Test {
  protected:
    void SetUp() override {
        gLog.clear();
        for (const char* folder : {"first", "second"})
            std::filesystem::create_directories(mRoot / folder);
        const std::string path = ":" + (mRoot / "missing").string() + ":" +
                                 (mRoot / "first").string() + ":" + (mRoot / "second").string();
        setenv("ZELKCAM_HOST_SPHAL_PATH", path.c_str(), 1);
    }
    void TearDown() override {
        unsetenv("ZELKCAM_HOST_SPHAL_PATH");
        std::filesystem::remove_all(mRoot);
    }

    // A library of its own file under another name.
    void install(const char* library, const std::string& file) {
        std::filesystem::copy_file(library, mRoot / file);
    }

    // Loads, tells the file, and lets go again; empty when it does not load.
    static std::string load(const char* name) {
        void* const handle = android_load_sphal_library(name, kFlag);
        if (handle == nullptr)
            return "";
        const void* symbol = dlsym(handle, "deflate");
        symbol = symbol != nullptr ? symbol : dlsym(handle, "plexa_query");
        const std::string path = symbol == nullptr ? "unknown" : pathOf(symbol);
        EXPECT_EQ(0, android_unload_sphal_library(handle));
        return path;
    }

    const std::filesystem::path mRoot = std::filesystem::path(testing::TempDir()) / "zelkcam_sphal";
};

TEST_F(SphalTest, TheFoldersOfTheEnvironmentComeInTheirOrder) {
    install(ZLIB_FILE, "second/libplexa.so");
    EXPECT_EQ(mRoot / "second/libplexa.so", load("libplexa.so"));
    install(ZLIB_FILE, "first/libplexa.so");
    EXPECT_EQ(mRoot / "first/libplexa.so", load("libplexa.so"));
    EXPECT_THAT(gLog, IsEmpty());
}

TEST_F(SphalTest, ThenBesideTheHostPlatformThenWhereverTheLoaderLooks) {
    const std::filesystem::path host =
            pathOf(reinterpret_cast<const void*>(&android_load_sphal_library));
    EXPECT_EQ(host.parent_path() / "libplexa.so", load("libplexa.so"));
    EXPECT_THAT(load("libz.so.1"), HasSubstr("/libz.so"));
}

TEST_F(SphalTest, AFailureIsLoggedWithTheLoadersReason) {
    EXPECT_EQ(nullptr, android_load_sphal_library("mapper.nosuch.so", kFlag));
    EXPECT_THAT(gLog, ElementsAre(testing::AllOf(
                              HasSubstr(std::to_string(ANDROID_LOG_ERROR) + " vndksupport "),
                              HasSubstr("mapper.nosuch.so: "), HasSubstr("cannot open"))));
}

// A broken library is a finding: another one of its name must not hide it.
TEST_F(SphalTest, TheFirstFileOfTheNameDecides) {
    std::ofstream(mRoot / "first/libplexa.so") << "no library\n";
    install(ZLIB_FILE, "second/libplexa.so");
    EXPECT_EQ("", load("libplexa.so"));
    EXPECT_THAT(gLog, ElementsAre(HasSubstr((mRoot / "first/libplexa.so").string())));
}

TEST_F(SphalTest, ADeclaredPassthroughLibraryIsFoundAlike) {
    install(ZLIB_FILE, "second/mapper.test.so");
    void* const handle = AServiceManager_openDeclaredPassthroughHal("mapper", "test", kFlag);
    ASSERT_NE(nullptr, handle);
    EXPECT_NE(nullptr, dlsym(handle, "deflate"));
    EXPECT_EQ(0, dlclose(handle));
    EXPECT_EQ(nullptr, AServiceManager_openDeclaredPassthroughHal("mapper", "nosuch", kFlag));
}

using NSCam::Utils::ULog::ULogger;

// Whether the fields are so before main; the statement runs in a program started anew.
void expectSwitchboard(uint32_t level, uint32_t mask, uint32_t mode) {
    EXPECT_EXIT(
            {
                const bool same = ULogger::sDetailsLevel == level &&
                                  ULogger::sNormalDetailsMask == mask && ULogger::sMode == mode;
                ULogger::sULogger->write(0x40007001, "Tag", 2, "cut", 4000);
                ULogger::sULogger->flush(1);
                exit(same ? 0 : 1);
            },
            testing::ExitedWithCode(0), "ulog 40007001 W Tag: cut\n");
}

TEST(Switchboard, StartsFromTheEnvironmentAndWritesToStandardError) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    expectSwitchboard(2, 0x40007000, 1);
    setenv("ZELKCAM_ULOG_LEVEL", "5", 1);
    setenv("ZELKCAM_ULOG_MASK", "0xC0001000", 1);
    setenv("ZELKCAM_ULOG_MODE", "9", 1);
    expectSwitchboard(5, 0xC0001000, 9);
    setenv("ZELKCAM_ULOG_LEVEL", "loud", 1);
    setenv("ZELKCAM_ULOG_MODE", "", 1);
    expectSwitchboard(2, 0xC0001000, 1);
    EXPECT_NE(0, zelkcam_testLog("Tag", 69));
}

}  // namespace
