// Devices recorded, replayed and recorded again.
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

using testing::HasSubstr;
using testing::Not;

// A recording without what tells one from another.
std::string recorded(const std::string& path, const Words& environment) {
    const Outcome outcome = runTool({"profile", "record", "-o", path}, environment);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    std::string text = contentsOf(path);
    const size_t from = text.find("\"recorded\": ");
    if (from != std::string::npos) {
        text.erase(from, text.find('\n', from) - from);
    }
    return text;
}

struct Source {
    const char* name;
    bool isPair;
};

class Recording : public testing::TestWithParam<Source> {};

TEST_P(Recording, IsTheSameAgainWhenItIsReplayed) {
    const ScratchFolder folder;
    const std::string file = folder / "device.json";
    const Words device =
            GetParam().isPair
                    ? Words{std::string("MADE_UP_DEVICE=") + GetParam().name,
                            std::string("LD_PRELOAD=") + MADE_UP_FILE,
                            "ZELKCAM_HOST_SPHAL_PATH=" +
                                    std::filesystem::path(MADE_UP_FILE).parent_path().string()}
                    : Words{std::string("ZELKCAM_HOST_PROFILE=") + GetParam().name};
    const std::string first = recorded(file, device);
    EXPECT_EQ(first, recorded(folder / "again.json", {"ZELKCAM_HOST_PROFILE=" + file}));
    EXPECT_EQ(runTool({"diff", file, folder / "again.json", "--exit-code"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
}

INSTANTIATE_TEST_SUITE_P(Devices, Recording,
                         testing::Values(Source{"default", false}, Source{"aligned-128", false},
                                         Source{"compressing", false}, Source{"strict", false},
                                         Source{"odd", true}, Source{"stepped", true},
                                         Source{"refusing", true}),
                         [](const auto& info) { return "N" + std::to_string(info.index); });

// A maker's extension may tell other rows than the mapper's planes do.
TEST(Recording, KeepsWhatOnlyTheExtensionTells) {
    const ScratchFolder folder;
    const std::string file = folder / "device.json";
    const Words device{std::string("LD_PRELOAD=") + TALL_EXTENSION_FILE};
    const Words replay{"ZELKCAM_HOST_PROFILE=" + file};
    const std::string first = recorded(file, device);
    EXPECT_EQ(first, recorded(folder / "again.json", replay));
    const std::string rules = runTool({"profile", "show", file}).out;
    EXPECT_THAT(rules, HasSubstr("\n    verticalStride: height, to 64\n"));
    EXPECT_THAT(rules, HasSubstr("\n    extensionStride: first row / 4, to 96\n"));
    EXPECT_THAT(rules, HasSubstr("\n    extensionSize: end of planes, to 65536\n"));
    // Of the sizes that are compared some were not recorded.
    EXPECT_THAT(runTool({"diff", file, "default"}).out,
                HasSubstr("YV12 (0x32315659): vertical stride of the extension  512 -> as the "
                          "mapper tells  at 640x480 usage 0x0 (96 of 96 requests)"));
}

// Each trait as no shipped profile has it.
TEST(Recording, FindsEveryTraitOfTheDevice) {
    const ScratchFolder folder;
    Json device = Json::parse(contentsOf(PROFILES_FOLDER "/default.json"));
    device["traits"] = Json::parse(R"({"refusedUsage": "0xff000000000000", "usageRefusal": 1,
        "zeroUsage": 1, "maxLayers": 4, "layersRefusal": 0, "maxReservedSize": 4096,
        "reservedRefusal": 1, "options": ["zelkcam.unknown"], "optionsRefusal": 0,
        "acquireFence": "closed", "waitsForAcquireFence": false, "releaseFence": true,
        "lockWithoutUsage": 0, "lockWithOtherUsage": 0, "lockWithOnlyOtherUsage": 5,
        "nestedLock": 2, "foreignHandle": 3, "foreignRead": -7, "foreignSet": 7,
        "foreignImport": 5, "unlockedFlush": 0, "unlockedReread": 3, "flushAfterRead": 2,
        "rereadAfterWrite": 2, "setUndecodable": 3, "setConstant": 7,
        "givesReservedRegion": false, "settable": [17, 21]})");
    writeContents(folder / "odd.json", device.dump());
    const std::string again =
            recorded(folder / "again.json", {"ZELKCAM_HOST_PROFILE=" + (folder / "odd.json")});
    EXPECT_EQ(Json::parse(again)["traits"].dump(1), device["traits"].dump(1));
}

TEST(Recording, ThatIsInterruptedLeavesALineAndNoFile) {
    const ScratchFolder folder;
    const std::string command = std::string("timeout --preserve-status --signal=INT 0.2 ") +
                                GRALLOCINFO_FILE + " profile record -o phone.json; echo $? *";
    EXPECT_EQ(printedBy(command, folder / ""),
              "grallocinfo: interrupted: the recording is not complete, and nothing was written\n"
              "1 printed\n");
    const Outcome unwritable = runTool({"profile", "record", "-o", "/nonexistent/phone.json"},
                                       {"ZELKCAM_HOST_SERVICES=none"});
    EXPECT_EQ(unwritable.status, 2) << "told before the device is asked";
    EXPECT_THAT(unwritable.err, HasSubstr("expected a file that can be written"));
}

TEST(View, TellsWhatWouldBeAsLong) {
    const ScratchFolder folder;
    const struct {
        size_t bytes;
        const char* hint;
    } kCases[] = {
            {1920 * 1088 * 3 / 2, "expected 3110400; as long as with 1088 rows of 1920 bytes"},
            {2048 * 1088 * 3 / 2, "; as long as with 1088 rows of 2048 bytes"},
            {3137536, "; as long as under the profiles aligned-128"},
            {1920 * 1080 * 4, "; as long as one of RGBA_8888 (0x1), RGBX_8888 (0x2), "},
            {1, "bytes: expected 3110400\n"}};
    for (const auto& [bytes, hint] : kCases) {
        writeContents(folder / "dump", std::string(bytes, 0));
        const Outcome outcome =
                runTool({"view", folder / "dump", "NV12", "1920x1080", "-o", folder / "p.png"});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr(hint));
    }
}

TEST(Profile, ThatIsNotUsableLeavesNoServicesAndTellsWhy) {
    const ScratchFolder folder;
    writeContents(folder / "bad.json", R"({"schemaVersion": 2})");
    const Outcome outcome =
            runTool({"query", "NV12", "64x64"}, {"ZELKCAM_HOST_PROFILE=" + (folder / "bad.json")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("at /schemaVersion: version 1 expected, not 2"));
    EXPECT_THAT(outcome.err, HasSubstr("there is no graphics allocator service"));
}

TEST(Profile, RefusesAUsageBitWhereRecordedUsagesDoNotTellBetter) {
    const ScratchFolder folder;
    writeContents(folder / "protected.json", R"({"schemaVersion": 1, "name": "protected",
        "traits": {"refusedUsage": "0x4000"},
        "shapes": [{"format": "0x1", "fourcc": "AB24", "planes": [{}]}],
        "formats": [{"format": "0x22", "usages": ["0x4000"],
                     "rules": [{"shape": 0, "planes": [{"row": {"of": "width", "times": 4}}]}]}]})");
    const auto statusOf = [&](const char* usage) {
        return runTool({"query", "IMPLEMENTATION_DEFINED", "64x64", "--usage", usage},
                       {"ZELKCAM_HOST_PROFILE=" + (folder / "protected.json")});
    };
    EXPECT_EQ(statusOf("0x4000").status, 0) << statusOf("0x4000").err;
    EXPECT_EQ(statusOf("0x4003").status, 1);
    EXPECT_EQ(statusOf("0x3").status, 0) << statusOf("0x3").err;
}

TEST(Profile, TellsNoFormatWhereTheDeviceTellsNone) {
    const ScratchFolder folder;
    writeContents(folder / "untold.json", R"({"schemaVersion": 1, "name": "untold", "traits": {},
        "shapes": [{"format": "0x0", "fourcc": 0, "refused": [[7, -7]], "planes": [{}]}],
        "formats": [{"format": "0x22", "rules": [{"shape": 0, "planes": [{"row": {"of": "width"}}]}]}]})");
    const Outcome outcome = runTool({"query", "IMPLEMENTATION_DEFINED", "64x64"},
                                    {"ZELKCAM_HOST_PROFILE=" + (folder / "untold.json")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("attributes of the probe buffer"));
}

TEST(Profile, AnswersDifferAsTheDeviceDoes) {
    const auto rowOf = [](const char* profile) {
        return runTool({"query", "YCrCb_420_SP", "1920x1080", "--json"},
                       {std::string("ZELKCAM_HOST_PROFILE=") + profile});
    };
    EXPECT_THAT(rowOf("default").out, HasSubstr("\"sizeInBytes\": 2073600"));
    EXPECT_THAT(rowOf("aligned-128").out, Not(HasSubstr("\"sizeInBytes\": 2073600")));
    EXPECT_EQ(rowOf("strict").status, 1);
}

}  // namespace

}  // namespace zelkcam::test
