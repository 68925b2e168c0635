#include <errno.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <tuple>

#include <cutils/properties.h>
#include <gtest/gtest.h>

namespace {

std::string get(const char* key, const char* defaultValue) {
    char value[PROPERTY_VALUE_MAX];
    const int length = property_get(key, value, defaultValue);
    EXPECT_EQ(length, static_cast<int>(std::string(value).size()));
    return value;
}

TEST(Properties, TheProcessComesBeforeTheEnvironmentAndThatBeforeTheFile) {
    const std::string path = testing::TempDir() + "/zelkcam_properties." + std::to_string(getpid());
    std::ofstream(path)
            << "# a.b=comment\nvendor.a.b = old\nvendor.a.b=file=1\nnoise\nc= from file \n";
    setenv("ZELKCAM_HOST_PROPERTIES", path.c_str(), 1);
    EXPECT_EQ(get("vendor.a.b", nullptr), "file=1");
    EXPECT_EQ(get("c", nullptr), "from file");
    setenv("ZELKCAM_PROP_vendor_a_b", "environment", 1);
    EXPECT_EQ(get("vendor.a.b", nullptr), "environment");
    EXPECT_EQ(property_set("vendor.a.b", "process"), 0);
    EXPECT_EQ(get("vendor.a.b", nullptr), "process");

    std::map<std::string, std::string> listed;
    const auto collect = [](const char* key, const char* value, void* cookie) {
        (*static_cast<std::map<std::string, std::string>*>(cookie))[key] = value;
    };
    setenv("ZELKCAM_PROP_c", "overruled", 1);
    EXPECT_EQ(property_list(collect, &listed), 0);
    const std::map<std::string, std::string> expected = {{"c", "overruled"},
                                                         {"vendor.a.b", "process"}};
    EXPECT_EQ(listed, expected);

    // Set to nothing by the process, the property is empty, not what lies below.
    EXPECT_EQ(property_set("vendor.a.b", nullptr), 0);
    EXPECT_EQ(get("vendor.a.b", "default"), "default");
    unsetenv("ZELKCAM_HOST_PROPERTIES");
    std::remove(path.c_str());
}

TEST(Properties, AFileThatCannotBeReadIsNamedOnce) {
    setenv("ZELKCAM_HOST_PROPERTIES", "/nonexistent", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(get("unheard of", "default"), "default");
    EXPECT_EQ(get("unheard of", "default"), "default");
    unsetenv("ZELKCAM_HOST_PROPERTIES");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "zelkcam: ZELKCAM_HOST_PROPERTIES=/nonexistent cannot be read; no property is taken "
              "from it\n");
}

TEST(Properties, TextsAreCutToTheBound) {
    const std::string longText(PROPERTY_VALUE_MAX + 20, 'x');
    const std::string bound(PROPERTY_VALUE_MAX - 1, 'x');
    EXPECT_EQ(get("unset", longText.c_str()), bound);
    EXPECT_EQ(get("unset", nullptr), "");
    setenv("ZELKCAM_PROP_long", longText.c_str(), 1);
    EXPECT_EQ(get("long", "short"), bound);
    EXPECT_EQ(property_set("fits", bound.c_str()), 0);
    EXPECT_LT(property_set("fits", longText.c_str()), 0);
    EXPECT_EQ(get("fits", nullptr), bound);
    EXPECT_LT(property_set(nullptr, "value"), 0);
}

TEST(Properties, NumbersAreReadAsFarAsTheyGo) {
    constexpr int32_t kDefault = -77;
    const std::tuple<const char*, int32_t, int64_t> cases[] = {
            {"", kDefault, kDefault},
            {"12abc", 12, 12},
            {"abc", kDefault, kDefault},
            {"0x1F", 31, 31},
            {"010", 8, 8},
            {"0x", 0, 0},
            {"2147483648", kDefault, int64_t{INT32_MAX} + 1},
            {"-2147483649", kDefault, int64_t{INT32_MIN} - 1},
            {"9223372036854775808", kDefault, kDefault},
    };
    for (const auto& [text, as32, as64] : cases) {
        ASSERT_EQ(property_set("number", text), 0);
        errno = EBADF;
        EXPECT_EQ(property_get_int32("number", kDefault), as32) << '"' << text << '"';
        EXPECT_EQ(property_get_int64("number", kDefault), as64) << '"' << text << '"';
        EXPECT_EQ(errno, EBADF);
    }
    EXPECT_EQ(property_get_int32("unset", kDefault), kDefault);
}

TEST(Properties, OnlyExactWordsAreTruthValues) {
    constexpr int8_t kDefault = 42;
    const std::map<std::string, int8_t> cases = {
            {"1", 1},       {"y", 1},        {"yes", 1},         {"true", 1},        {"on", 1},
            {"0", 0},       {"n", 0},        {"no", 0},          {"false", 0},       {"off", 0},
            {"", kDefault}, {"2", kDefault}, {"TRUE", kDefault}, {"true ", kDefault}};
    for (const auto& [text, expected] : cases) {
        ASSERT_EQ(property_set("truth", text.c_str()), 0);
        EXPECT_EQ(property_get_bool("truth", kDefault), expected) << '"' << text << '"';
    }
}

}  // namespace
