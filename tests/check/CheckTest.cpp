// What grallocinfo run --check tells of programs with one fault, and of programs without.
#include <cstdlib>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zelkcam::test {

namespace {

using Json = nlohmann::json;

struct Checked {
    int status = -1;
    Json run;
};

// Runs one of the programs beside this one.
Checked check(const std::string& command, const std::string& options = "") {
    const std::string report = testing::TempDir() + "/check-" + std::to_string(getpid()) + ".json";
    const std::string line = std::string("cd ") + PROGRAMS +
                             " && ulimit -c 0 && ./grallocinfo run" + " --check --report " +
                             report + " " + options + " -- ./" + command + " >/dev/null 2>&1";
    Checked checked;
    checked.status = WEXITSTATUS(system(line.c_str()));  // NOLINT(cert-env33-c): our own words
    const Json document = Json::parse(std::ifstream(report), nullptr, false);
    remove(report.c_str());
    EXPECT_FALSE(document.is_discarded()) << command;
    checked.run = document.is_discarded() ? Json() : document["runs"][0];
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
        {"leakInChild", {"leaked-import"}, "allocated here"},
        {"dropFence", {"leaked-fence"}, nullptr, "the release fence", 0, "--quirk late-fence=0"},
};

void expectTold(const Case& fault, const Checked& checked) {
    EXPECT_EQ(checked.status, 1);
    EXPECT_EQ(checked.run["signal"], fault.signal != 0 ? Json(fault.signal) : Json());
    EXPECT_EQ(checked.run["exit"], fault.signal != 0 ? Json() : Json(0));
    ASSERT_EQ(kindsOf(checked.run), fault.kinds) << checked.run.dump(1);
    const Json& first = checked.run["findings"][0];
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
        // The facade takes no fence and gives none.
        if (way == "facade" && std::string(fault.function).find("Fence") != std::string::npos) {
            continue;
        }
        expectTold(fault, check("misuse " + way + " " + fault.function, fault.options));
    }
}

TEST_P(Check, FindsNothingInProgramsThatOnlyLookFaulty) {
    const Checked checked = check(std::string("proper ") + GetParam());
    EXPECT_EQ(checked.status, 0);
    EXPECT_EQ(checked.run["findings"], Json::array()) << checked.run.dump(1);
}

INSTANTIATE_TEST_SUITE_P(ByEveryWay, Check, testing::Values("facade", "aidl", "hidl"),
                         [](const auto& way) { return std::string(way.param); });

TEST(CheckOptions, StrictCountsPaddingThatIsWrittenAlike) {
    const Checked strict = check("proper aidl", "--strict");
    EXPECT_EQ(strict.status, 1);
    for (const std::string& kind : kindsOf(strict.run)) {
        EXPECT_EQ(kind, "padding-overwritten");
    }
}

}  // namespace zelkcam::test
