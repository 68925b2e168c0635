// The words of a command line as codes, and name, which prints the one for the other.
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Names.h"
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

TEST(Name, OtherNamesOfACodeInAnyCaseAreReadToo) {
    const std::pair<const char*, int32_t> kFormats[] = {
            {"nv21", 0x11},       {"YV12", 0x32315659},
            {"yuyv", 0x14},       {"HAL_PIXEL_FORMAT_YCRCB_420_SP", 0x11},
            {"RAW_SENSOR", 0x20}, {"hal_pixel_format_raw10", 0x25},
            {" P010 ", 0x36},     {"Yuv_420_888", 0x23}};
    for (const auto& [name, code] : kFormats) {
        EXPECT_EQ(parseFormat(name), code) << name;
    }
    EXPECT_EQ(parseUsage("cpu_read_often | GRALLOC_USAGE_HW_TEXTURE|PROTECTED"), 0x4103u);
    EXPECT_EQ(parseDataspace("HAL_DATASPACE_STANDARD_BT2020 | transfer_hlg"), 0x2060000);
}

// A fourcc of the list is the one that the mapper reports.
TEST(Name, ListedFourccsAreThoseOfTheMapper) {
    std::map<int32_t, std::string> reported;
    const Json formats = runForDocument({"formats", "64x64"});
    for (const Json& row : formats["formats"]) {
        if (row["status"] == 0) {
            reported[row["format"]] = row["allocation"]["fourccName"];
        }
    }
    for (const NamedCode& code : namedCodes(CodeKind::kFormat)) {
        const auto row = reported.find(static_cast<int32_t>(code.code));
        if (!code.fourcc.empty() && row != reported.end()) {
            EXPECT_EQ(code.fourcc, row->second) << code.name;
        }
    }
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
