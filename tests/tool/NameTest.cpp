// name: every code of the tables to its name and back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/NameTables.h"

namespace zelkcam::test {

namespace {

using namespace NSCam::gralloc;

std::string hexOf(uint32_t code) {
    char text[20];
    snprintf(text, sizeof(text), "0x%x", code);
    return text;
}

// The code gives `text`, and `text` gives the code.
void expectRoundTrip(const std::string& option, uint32_t code, const std::string& text) {
    SCOPED_TRACE(option + " " + text);
    const Outcome named = runTool({"name", option, hexOf(code)});
    EXPECT_EQ(named.status, 0) << named.err;
    EXPECT_EQ(named.out, text + "\n");
    EXPECT_EQ(runTool({"name", option, text}).out, hexOf(code) + "\n");
}

std::string dataspaceName(uint32_t code) {
    return NSCam::IGrallocHelper::singleton()
            ->queryDataspaceName(static_cast<int32_t>(code))
            .c_str();
}

}  // namespace

TEST(Name, EveryPixelFormatGoesThereAndBack) {
    for (const auto& [code, name] : kPixelFormatNames) {
        expectRoundTrip("--format", static_cast<uint32_t>(code), std::string(name));
    }
}

TEST(Name, EveryUsageGoesThereAndBack) {
    for (const UsageName& usage : kUsageFieldNames) {
        expectRoundTrip("--usage", usage.value, "0|" + std::string(usage.name));
    }
    constexpr uint32_t kTexture = 0x100;  // some flags are named in the company of another only
    for (const UsageName& usage : kHardwareUsageNames) {
        expectRoundTrip("--usage", usage.value | kTexture,
                        usage.value == kTexture  ? "0|HW_TEXTURE"
                        : usage.value < kTexture ? "0|" + std::string(usage.name) + "|HW_TEXTURE"
                                                 : "0|HW_TEXTURE|" + std::string(usage.name));
    }
    expectRoundTrip("--usage", 0x20033, "0|SW_READ_OFTEN|SW_WRITE_OFTEN|HW_CAMERA_WRITE");
}

TEST(Name, EveryDataspaceGoesThereAndBack) {
    for (const auto& [code, name] : kLegacyDataspaceNames) {
        expectRoundTrip("--dataspace", static_cast<uint32_t>(code), std::string(name));
    }
    for (const CodeName& dataspace : kCombinedDataspaceNames) {
        const auto code = static_cast<uint32_t>(dataspace.code);
        expectRoundTrip("--dataspace", code, dataspaceName(code));
        EXPECT_EQ(runTool({"name", "--dataspace", std::string(dataspace.name)}).out,
                  hexOf(code) + "\n");
    }
    for (const uint32_t unnamed : {0x10C60000u, 0xA060000u, 0x5u, 0xFFFFFFFFu}) {
        expectRoundTrip("--dataspace", unnamed, dataspaceName(unnamed));
    }
}

TEST(Name, ACodeWithoutANameHasAnEmptyOneAndARemark) {
    const Outcome outcome = runTool({"name", "--format", "6"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "\n");
    EXPECT_EQ(outcome.err, "grallocinfo: no name for 0x6\n");
}

TEST(Name, NeedsNoAllocator) {
    EXPECT_EQ(runTool({"name", "--format", "17"}, {"ZELKCAM_HOST_SERVICES=none"}).out,
              "YCrCb_420_SP\n");
}

TEST(Name, DocumentsHoldNumberTextAndName) {
    const Json format = runForDocument({"name", "--format", "YV12"}, "name");
    EXPECT_EQ(format["code"], 0x32315659);
    EXPECT_EQ(format["codeHex"], "0x32315659");
    const Json usage = runForDocument({"name", "--usage", "0xffffffff"}, "name");
    EXPECT_EQ(usage["code"], 0xFFFFFFFFu);
    const Json dataspace = runForDocument({"name", "--dataspace", "-1"}, "name");
    EXPECT_EQ(dataspace["code"], -1);
    EXPECT_EQ(dataspace["codeHex"], "0xffffffff");
}

}  // namespace zelkcam::test
