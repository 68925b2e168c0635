// What grallocinfo run --check tells of programs with one fault, and of programs without.
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelkcam::test {

namespace {

using Json = nlohmann::json;

struct Checked {
    int status = -1;
    Json runs;
    std::string text;  // what people read
};

std::string takeFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    remove(path.c_str());
    return text.str();
}

// Runs one of the programs beside this one, given by the words of its command line.
Checked check(const std::string& command, const std::string& options = "") {
    const std::string base = testing::TempDir() + "/check-" + std::to_string(getpid());
    const std::string line = std::string("cd ") + PROGRAMS +
                             " && ulimit -c 0 && ./grallocinfo run --check --report " + base +
                             ".json " + options + " -- " + command + " >/dev/null 2>" + base;
    Checked checked;
    checked.status = WEXITSTATUS(system(line.c_str()));  // NOLINT(cert-env33-c): our own words
    const Json document = Json::parse(takeFile(base + ".json"), nullptr, false);
    checked.text = takeFile(base);
    EXPECT_FALSE(document.is_discarded()) << command << ": " << checked.text;
    checked.runs = document.is_discarded() ? Json::array({Json()}) : document["runs"];
    return checked;
}

bool names(const Json& stack, const std::string& function) {
    return std::ranges::any_of(stack,
                               [&](const Json& frame) { return frame["function"] == function; });
}

std::vector<std::string> kindsOf(const Json& run) {
    std::vector<std::string> kinds;
    for (const Json& finding : run["findings"]) {
        kinds.push_back(finding["kind"]);
    }
    return kinds;
}

struct Case {
    const char* function;
    std::vector<std::string> kinds;  // all that is told
    const char* previous;            // of the first
    const char* message = "";        // a part of the first's
    int signal = 0;
    const char* options = "";
};

const Case kCases[] = {
        {"neverFree",
         {"leaked-import"},
         "allocated here",
         "(YCRCB_420_SP, 1000x480, 737280 bytes)"},
        {"neverUnlock", {"leaked-lock", "leaked-import"}, "allocated here"},
        {"freeUnderLock", {"freed-while-locked"}, "locked here"},
        {"freeTwice", {"double-free"}, "freed here", "buffer 1 "},
        {"lockAfterFree", {"use-after-free"}, "freed here"},
        {"queryAfterFree", {"use-after-free"}, "freed here"},
        {"lockRaw", {"raw-handle"}, nullptr},
        {"unlockTwice", {"unlock-without-lock"}, "imported here"},
        {"lockForWritingTwice", {"conflicting-locks"}, "locked here"},
        {"lockForWritingInTwoProcesses", {"conflicting-locks"}, nullptr, "while process "},
        {"touchAfterUnlock", {"access-after-unlock"}, "unlocked here", "byte 5 ", SIGSEGV},
        {"touchAndHandFaultOn", {"access-after-unlock"}, "unlocked here", "byte 0 ", SIGSEGV},
        {"touchBefore", {"out-of-bounds"}, "locked here", "byte -1 ", SIGSEGV},
        {"touchBehind", {"out-of-bounds"}, "locked here", "byte 737280 ", SIGSEGV},
        {"writeTheLastPage", {"out-of-bounds"}, "locked here", "so many: 1"},
        {"writeWhileReading", {"write-through-read-lock"}, "locked here", "byte 3 ", SIGSEGV},
        {"takeWidthForStride", {"padding-overwritten"}, "locked here", "plane 0 row 0"},
        {"overrunOneRow", {"padding-overwritten"}, "locked here", "plane 1 row 17"},
        {"closeFenceOfLock", {"double-close"}, "closed here"},
        {"closeBuffersDescriptor", {"closed-borrowed"}, "imported here"},
        {"closeBuffersDescriptorOfMany", {"closed-borrowed"}, "imported here", "to buffer 1 ("},
        {"closeRangeOfBuffer", {"closed-borrowed"}, "imported here"},
        {"closeBuffersDescriptorInside", {"closed-borrowed"}, "imported here"},
        {"replaceBuffersDescriptor", {"closed-borrowed"}, "imported here"},
        {"closeBuffersDescriptorAfterFree", {"double-close"}, "closed here"},
        {"closeFenceTwice", {"double-close"}, "closed here", "", 0, "--quirk late-fence=0"},
        {"leakInChild", {"leaked-import"}, "allocated here"},
        {"dropFence", {"leaked-fence"}, nullptr, "the release fence", 0, "--quirk late-fence=0"},
};

void expectTold(const Case& fault, const Checked& checked) {
    const Json& run = checked.runs[0];
    EXPECT_EQ(checked.status, 1);
    EXPECT_EQ(run["signal"], fault.signal != 0 ? Json(fault.signal) : Json());
    EXPECT_EQ(run["exit"], fault.signal != 0 ? Json() : Json(0));
    ASSERT_EQ(kindsOf(run), fault.kinds) << run.dump(1);
    const Json& first = run["findings"][0];
    EXPECT_TRUE(names(first["stack"], fault.function)) << first.dump(1);
    EXPECT_NE(first["message"].get<std::string>().find(fault.message), std::string::npos) << first;
    EXPECT_EQ(first.contains("previous"), fault.previous != nullptr);
    if (fault.previous != nullptr) {
        EXPECT_EQ(first["previous"]["what"], fault.previous);
        EXPECT_TRUE(names(first["previous"]["stack"], fault.function)) << first.dump(1);
    }
    EXPECT_GT(first["stack"][0]["line"], 0);
}

class Check : public testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(Check, FindsEveryFaultInItsFunctionAndNothingElse) {
    const std::string way = GetParam();
    for (const Case& fault : kCases) {
        SCOPED_TRACE(fault.function);
        // The helper takes no fence, and waits for those that it gets itself.
        if (way == "facade" && std::string(fault.function).find("Fence") != std::string::npos) {
            continue;
        }
        expectTold(fault, check("./misuse " + way + " " + fault.function, fault.options));
    }
}

TEST_P(Check, FindsNothingInProgramsThatOnlyLookFaulty) {
    const Checked checked = check(std::string("./proper ") + GetParam(), "--profile all");
    EXPECT_EQ(checked.status, 0) << checked.text;
    EXPECT_GE(checked.runs.size(), 5);
    for (const Json& run : checked.runs) {
        EXPECT_EQ(run["findings"], Json::array()) << run.dump(1);
    }
}

INSTANTIATE_TEST_SUITE_P(ByEveryWay, Check, testing::Values("facade", "aidl", "hidl"),
                         [](const auto& way) { return std::string(way.param); });

TEST(CheckOptions, StrictCountsPaddingThatIsWrittenAlike) {
    const Checked strict = check("./proper aidl writeWholeRows", "--strict");
    EXPECT_EQ(strict.status, 1);
    EXPECT_THAT(kindsOf(strict.runs[0]), testing::Each("padding-overwritten"));
}

// The device closes acquire fences and gives release fences.
TEST(CheckOptions, CountsWhatTheLibraryDoesByContractAndPrintsItWhenAsked) {
    const struct {
        const char* program;
        int count;
        const char* line;
    } cases[] = {{"handTheFenceOn", 6, "[strict] by contract, double-close: "},
                 {"failToLockPlanes", 1, "[strict] by contract, leaked-fence: "}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.program);
        const std::string command = std::string("./proper aidl ") + c.program;
        const Checked quiet = check(command, "--profile strict");
        const Checked verbose = check(command, "--profile strict --verbose");
        EXPECT_EQ(quiet.status, 0);
        EXPECT_EQ(quiet.runs[0]["byContract"], c.count);
        EXPECT_EQ(quiet.text.find(c.line), std::string::npos);
        EXPECT_NE(verbose.text.find(c.line), std::string::npos) << verbose.text;
    }
}

// What a device does with a handle that was never imported is a question of the recording.
TEST(CheckedCommands, AreCleanButForTheHandleThatARecordingMakesUp) {
    const std::string folder = testing::TempDir() + "/check-commands-" + std::to_string(getpid());
    const std::string file = folder + "/file";
    const struct {
        std::string command;
        std::vector<std::string> kinds;
    } cases[] = {
            {"./grallocinfo query YV12 641x363 --svg " + file, {}},
            {"./grallocinfo formats 64x64", {}},
            {"./grallocinfo list formats", {}},
            {"./grallocinfo info", {}},
            {"./grallocinfo run --profile aligned-128 -- ./grallocinfo query 0x23 64x64", {}},
            {"head -c 6144 /dev/zero > " + file + " && ./grallocinfo view " + file +
                     " YCrCb_420_SP 64x64 -o " + file + ".png",
             {}},
            {"./grallocinfo share YCBCR_P010 321x183 " + folder +
                     "/socket --once & "
                     "until ./grallocinfo attach " +
                     folder + "/socket --fill bars --png " + file + "; do sleep 0.1; done; wait",
             {}},
            {"./camera_client " + file + ".png", {}},
            {"ZELKCAM_ULOG_LEVEL=5 ./camera_client " + file + ".png 2>&1 | ./grallocinfo watch",
             {}},
            {"./grallocinfo profile record -o " + file, {"raw-handle", "raw-handle", "raw-handle"}},
    };
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    for (const auto& c : cases) {
        const Checked checked = check("sh -c '" + c.command + "'");
        EXPECT_EQ(checked.runs[0]["exit"], 0) << c.command << checked.text;
        EXPECT_EQ(kindsOf(checked.runs[0]), c.kinds) << c.command << checked.text;
    }
    EXPECT_EQ(check("./camera_client " + file + ".png", "--profile all").status, 0);
    std::filesystem::remove_all(folder);
}

// Nothing is left behind, whatever the platform refuses. A lock that is refused while a layout is
// looked for ends the process, by contract.
TEST(CheckedCommands, AreCleanWhateverIsRefused) {
    const std::string picture = testing::TempDir() + "/check-" + std::to_string(getpid()) + ".png";
    for (const std::string quirk : {"refuse-allocation", "refuse-import", "refuse-lock"}) {
        for (int call = 1; call <= 3; ++call) {
            const std::string options = "--quirk " + quirk + "=" + std::to_string(call);
            const Checked checked = check("./camera_client " + picture, options);
            EXPECT_EQ(checked.runs[0]["findings"], Json::array()) << options << checked.text;
            EXPECT_EQ(checked.runs[0]["signal"].is_null(), options != "--quirk refuse-lock=1");
        }
    }
    remove(picture.c_str());
}

}  // namespace zelkcam::test
