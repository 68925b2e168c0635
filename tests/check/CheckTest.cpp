// What grallocinfo run --check tells of programs with one fault, and of programs without.
#include <cstdlib>
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

// Runs one of the programs beside this one.
Checked check(const std::string& command, const std::string& options = "") {
    const std::string base = testing::TempDir() + "/check-" + std::to_string(getpid());
    const std::string line = std::string("cd ") + PROGRAMS +
                             " && ulimit -c 0 && ./grallocinfo run --check --report " + base +
                             ".json " + options + " -- ./" + command + " >/dev/null 2>" + base;
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
        {"lockRaw", {"raw-handle"}, nullptr},
        {"unlockTwice", {"unlock-without-lock"}, "imported here"},
        {"lockForWritingTwice", {"conflicting-locks"}, "locked here"},
        {"touchAfterUnlock", {"access-after-unlock"}, "unlocked here", "byte 5 ", SIGSEGV},
        {"touchBefore", {"out-of-bounds"}, "locked here", "byte -1 ", SIGSEGV},
        {"touchBehind", {"out-of-bounds"}, "locked here", "byte 737280 ", SIGSEGV},
        {"writeTheLastPage", {"out-of-bounds"}, "locked here", "so many: 1"},
        {"writeWhileReading", {"write-through-read-lock"}, "locked here", "byte 3 ", SIGSEGV},
        {"takeWidthForStride", {"padding-overwritten"}, "locked here", "plane 0 row 0"},
        {"overrunOneRow", {"padding-overwritten"}, "locked here", "plane 1 row 17"},
        {"closeFenceOfLock", {"double-close"}, "closed here"},
        {"closeBuffersDescriptor", {"closed-borrowed"}, "imported here"},
        {"closeBuffersDescriptorAfterFree", {"double-close"}, "closed here"},
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
        expectTold(fault, check("misuse " + way + " " + fault.function, fault.options));
    }
}

TEST_P(Check, FindsNothingInProgramsThatOnlyLookFaulty) {
    const Checked checked = check(std::string("proper ") + GetParam(), "--profile all");
    EXPECT_EQ(checked.status, 0) << checked.text;
    EXPECT_GE(checked.runs.size(), 5);
    for (const Json& run : checked.runs) {
        EXPECT_EQ(run["findings"], Json::array()) << run.dump(1);
    }
}

INSTANTIATE_TEST_SUITE_P(ByEveryWay, Check, testing::Values("facade", "aidl", "hidl"),
                         [](const auto& way) { return std::string(way.param); });

TEST(CheckOptions, StrictCountsPaddingThatIsWrittenAlike) {
    const Checked strict = check("proper aidl writeWholeRows", "--strict");
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
        const std::string command = std::string("proper aidl ") + c.program;
        const Checked quiet = check(command, "--profile strict");
        const Checked verbose = check(command, "--profile strict --verbose");
        EXPECT_EQ(quiet.status, 0);
        EXPECT_EQ(quiet.runs[0]["byContract"], c.count);
        EXPECT_EQ(quiet.text.find(c.line), std::string::npos);
        EXPECT_NE(verbose.text.find(c.line), std::string::npos) << verbose.text;
    }
}

}  // namespace zelkcam::test
