// Faults on demand, as a program meets them.
#include <chrono>
#include <cstdlib>

#include <gtest/gtest.h>

namespace zelkcam::test {

namespace {

using std::chrono::milliseconds;

struct Ended {
    int status;
    milliseconds time;
};

// A layout that takes an allocation, an import, a lock and the extension.
constexpr char kQuery[] = "grallocinfo query YV12 64x64";
constexpr char kFence[] = "misuse aidl awaitFence";

Ended runUnder(const std::string& quirk, const std::string& command) {
    const std::string line = std::string("cd ") + PROGRAMS + " && ulimit -c 0 && " +
                             "./grallocinfo run --quirk " + quirk + " -- ./" + command +
                             " >/dev/null 2>&1";
    const auto start = std::chrono::steady_clock::now();
    const int status = WEXITSTATUS(system(line.c_str()));  // NOLINT(cert-env33-c): our own words
    return {status,
            std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start)};
}

}  // namespace

TEST(Quirks, FailWhatTheyNameAndNothingElse) {
    const struct {
        const char* quirk;
        int status;
        milliseconds least{0};
        const char* command = kQuery;
    } cases[] = {{"refuse-allocation=1", 1},
                 {"refuse-allocation=2", 0},
                 {"refuse-import=1:BAD_BUFFER", 1},
                 {"refuse-import=2", 0},
                 {"refuse-lock=1", 1},
                 {"refuse-lock=2:BAD_VALUE", 0},
                 {"service-gone=1", 1},
                 {"failing-extension", 1},
                 {"growing-metadata", 1},
                 {"slow-allocation=300", 0, milliseconds(300)},
                 {"late-fence=300", 0, milliseconds(300)},
                 {"late-fence=300", 0, milliseconds(300), kFence},
                 {"stuck-fence", 1, milliseconds(500), kFence},
                 {"slow-allocation=0,refuse-allocation=1", 1},
                 {"refuse-lock", 2},
                 {"refuse-lock=0", 2},
                 {"refuse-lock=1:NONE", 2},
                 {"late-fence=1:BAD_VALUE", 2},
                 {"stuck-fence=1", 2},
                 {"late-fence=1,", 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.quirk);
        const Ended ended = runUnder(c.quirk, c.command);
        EXPECT_EQ(ended.status, c.status);
        EXPECT_GE(ended.time, c.least);
    }
}

}  // namespace zelkcam::test
