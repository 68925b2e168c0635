// Loading of vendor libraries.
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <android/binder_manager.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vndksupport/linker.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kFlag = RTLD_LOCAL | RTLD_NOW;

class SphalTest : public testing::Test {
  protected:
    SphalTest() {
        for (const char* folder : {"first", "second"}) {
            std::filesystem::create_directories(mRoot / folder);
        }
        const std::string path = ":" + (mRoot / "missing").string() + ":" +
                                 (mRoot / "first").string() + ":" + (mRoot / "second").string();
        setenv("ZELKCAM_HOST_SPHAL_PATH", path.c_str(), 1);
    }
    ~SphalTest() override { std::filesystem::remove_all(mRoot); }

    // Puts a copy of the probe library there.
    void install(const std::string& file) { std::filesystem::copy_file(PROBE_FILE, mRoot / file); }

    // Loads, tells the file, and lets go again; empty when it does not load.
    static std::string load(const char* name) {
        void* const handle = android_load_sphal_library(name, kFlag);
        if (handle == nullptr) {
            return "";
        }
        const link_map* loaded = nullptr;
        EXPECT_EQ(dlinfo(handle, RTLD_DI_LINKMAP, &loaded), 0);
        const std::string path = std::filesystem::canonical(loaded->l_name);
        EXPECT_EQ(android_unload_sphal_library(handle), 0);
        return path;
    }

    // Test cases run beside each other.
    const std::filesystem::path mRoot = std::filesystem::path(testing::TempDir()) /
                                        ("zelkcam_sphal." + std::to_string(getpid()));
};

TEST_F(SphalTest, TheFoldersOfTheEnvironmentComeInTheirOrder) {
    testing::internal::CaptureStderr();
    install("second/libplexa.so");
    EXPECT_EQ(load("libplexa.so"), mRoot / "second/libplexa.so");
    install("first/libplexa.so");
    EXPECT_EQ(load("libplexa.so"), mRoot / "first/libplexa.so");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
}

TEST_F(SphalTest, ThenBesideTheHostPlatformThenWhereverTheLoaderLooks) {
    Dl_info host = {};
    ASSERT_NE(dladdr(reinterpret_cast<const void*>(&android_load_sphal_library), &host), 0);
    const std::filesystem::path folder = std::filesystem::path(host.dli_fname).parent_path();
    EXPECT_EQ(load("libplexa.so"), std::filesystem::canonical(folder / "libplexa.so"));
    EXPECT_THAT(load("liblog.so.0"), HasSubstr("/liblog.so"));
}

TEST_F(SphalTest, AFailureIsLoggedWithTheLoadersReason) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(android_load_sphal_library("mapper.nosuch.so", kFlag), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::ContainsRegex("^vndksupport E .*mapper.nosuch.so: cannot open"));
}

// A broken library is a finding: another one of its name must not hide it.
TEST_F(SphalTest, TheFirstFileOfTheNameDecides) {
    std::ofstream(mRoot / "first/libplexa.so") << "no library\n";
    install("second/libplexa.so");
    testing::internal::CaptureStderr();
    EXPECT_EQ(load("libplexa.so"), "");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr((mRoot / "first/libplexa.so").string()));
}

TEST_F(SphalTest, ADeclaredPassthroughLibraryIsFoundAlike) {
    install("second/mapper.test.so");
    void* const handle = AServiceManager_openDeclaredPassthroughHal("mapper", "test", kFlag);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(dlsym(handle, "sphal_probe"), nullptr);
    EXPECT_EQ(dlclose(handle), 0);
    EXPECT_EQ(AServiceManager_openDeclaredPassthroughHal("mapper", "nosuch", kFlag), nullptr);
}

}  // namespace
