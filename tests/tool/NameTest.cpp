// The words of a command line as codes, and name, which prints the one for the other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "tools/grallocinfo/Arguments.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/NameTables.h"

namespace zelkcam::test {

namespace {

using namespace NSCam::gralloc;
using namespace grallocinfo;

const NSCam::IGrallocHelper& helper() {
    return *NSCam::IGrallocHelper::singleton();
}

}  // namespace

TEST(Name, WhatTheLibraryPrintsForACodeIsReadAsThatCode) {
    for (const CodeName& format : kPixelFormatNames) {
        EXPECT_EQ(parseFormat(helper().queryPixelFormatName(format.code).c_str()), format.code);
    }
    constexpr uint32_t kTexture = 0x100;  // some flags are named in the company of another only
    for (const auto& usage : kUsageFieldNames) {
        EXPECT_EQ(parseUsage(helper().queryGrallocUsageName(int(usage.value)).c_str()),
                  usage.value);
    }
    for (const auto& flag : kHardwareUsageNames) {
        const uint32_t usage = flag.value | kTexture;
        EXPECT_EQ(parseUsage(helper().queryGrallocUsageName(int(usage)).c_str()), usage);
    }
    const auto expectDataspace = [](uint32_t code) {
        const int32_t dataspace = static_cast<int32_t>(code);
        EXPECT_EQ(parseDataspace(helper().queryDataspaceName(dataspace).c_str()), dataspace);
    };
    for (const CodeName& dataspace : kLegacyDataspaceNames) {
        expectDataspace(static_cast<uint32_t>(dataspace.code));
    }
    for (const CodeName& dataspace : kCombinedDataspaceNames) {
        expectDataspace(static_cast<uint32_t>(dataspace.code));
        EXPECT_EQ(parseDataspace(dataspace.name), dataspace.code);
    }
    for (const uint32_t unnamed : {0x10C60000u, 0xA060000u, 0x5u, 0xFFFFFFFFu}) {
        expectDataspace(unnamed);
    }
}

TEST(Name, NumbersAreDecimalOrHexadecimalAndOnlyDataspacesNegative) {
    EXPECT_EQ(parseFormat("34"), 0x22);
    EXPECT_EQ(parseFormat("0X22"), 0x22);
    EXPECT_EQ(parseUsage("0xffffffff"), 0xFFFFFFFFu);
    EXPECT_EQ(parseUsage("0|65536|SW_READ_OFTEN"), 0x10003u);
    EXPECT_EQ(parseDataspace("-1"), -1);
    EXPECT_EQ(parseDataspace("-2147483648"), INT32_MIN);
}

// Without an allocator, which names do not need.
TEST(Name, PrintsTheOtherSideOfACodeAndRemarksThatThereIsNone) {
    const Words noServices{"ZELKCAM_HOST_SERVICES=none"};
    const Json usage = runForDocument({"name", "--usage", "0xffffffff"}, noServices);
    EXPECT_EQ(usage["code"], 0xFFFFFFFFu);
    const Json dataspace = runForDocument({"name", "--dataspace", "-1"}, noServices);
    EXPECT_EQ(dataspace["code"], -1);
    EXPECT_EQ(dataspace["codeHex"], "0xffffffff");
    const Outcome nameless = runTool({"name", "--format", "6"}, noServices);
    EXPECT_EQ(nameless.status, 0);
    EXPECT_EQ(nameless.out, "\n");
    EXPECT_EQ(nameless.err, "grallocinfo: no name for 0x6\n");
}

}  // namespace zelkcam::test
