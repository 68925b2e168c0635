// Every operation, again and again: each time one platform call that it makes fails in one way. The
// calls are found by running the operation undisturbed, so a new call is swept without being named.
// Whatever fails, the process ends by an assertion or not at all, outputs fit the result, no
// descriptor, lock or mapping is left, and the next call is as if nothing had happened. The codes
// and lines of failures are for the tests of each class, and so is what a broken mapper answers.
// What has no result to look at, as munmap and the log, cannot fail.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "tests/faults/Doors.h"
#include "tests/faults/Operations.h"
#include "tests/support/Holdings.h"

namespace zelkcam::faults {

namespace {

// Runs the operation once, on a stage of its own.
void run(const Operation& operation, size_t failingCall, size_t fault) {
    Trial& now = trial();
    memset(&now, 0, sizeof(now));
    now.failingCall = failingCall;
    now.fault = fault;
    if (!operation.traits.fresh) {
        buildOnce();
    }
    const test::Holdings before = test::holdings();
    Stage stage;
    setStage(operation, stage);

    now.armed = true;
    now.result = operation.run(stage);
    now.armed = false;

    now.locks = clearStage(stage);
    const test::Holdings after = test::holdings();
    now.descriptors = after.descriptors - before.descriptors;
    now.mappings = after.mappings - before.mappings;
    now.done = true;
}

// A trial and the undisturbed call after it, as seen from here.
struct Pair {
    Trial disturbed;
    Trial next;
};

Trial& kept() {
    static Trial& memory = *static_cast<Trial*>(mmap(nullptr, sizeof(Trial), PROT_READ | PROT_WRITE,
                                                     MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return memory;
}

void runTwice(const Operation& operation, size_t failingCall, size_t fault) {
    run(operation, failingCall, fault);
    kept() = trial();
    if (!operation.traits.fresh) {
        run(operation, kNoCall, 0);
    }
}

void exercise(const Operation& operation, size_t failingCall, size_t fault, Pair& out) {
    kept().done = false;
    if (!operation.traits.mayEndProcess) {
        runTwice(operation, failingCall, fault);
    } else if (const pid_t child = fork(); child == 0) {
        runTwice(operation, failingCall, fault);
        _exit(0);
    } else {
        int status = 0;
        waitpid(child, &status, 0);
        const bool isAsserted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
        EXPECT_TRUE((isAsserted && trial().fatal) || status == 0) << "ended by itself: " << status;
    }
    out.disturbed = kept().done ? kept() : trial();
    out.next = trial();
}

class Sweep : public testing::TestWithParam<Operation> {
  protected:
    const Operation& operation() const { return GetParam(); }

    void findCalls() {
        if (!operation().traits.fresh) {
            runTwice(operation(), kNoCall, 0);  // what is built once
        }
        exercise(operation(), kNoCall, 0, mUndisturbed);
        const Trial& seen = mUndisturbed.disturbed;
        ASSERT_TRUE(seen.done);
        EXPECT_EQ(seen.result, operation().traits.success);
        EXPECT_EQ(seen.locks, operation().traits.locks);
        EXPECT_EQ(seen.descriptors, operation().traits.fresh ? seen.descriptors : 0);
        EXPECT_EQ(seen.mappings, 0);
    }

    void sweepCall(size_t call) {
        const Door& door = *mUndisturbed.disturbed.doors[call];
        for (size_t i = 0; i < door.faults.size(); ++i) {
            SCOPED_TRACE(operation().name + ": call " + std::to_string(call) + ", " + door.name +
                         ": " + door.faults[i].name);
            exercise(operation(), call, i, mPair);
            ASSERT_TRUE(mPair.disturbed.hit && mPair.disturbed.doors[call] == &door)
                    << "the call is not made every time";
            if (!mPair.disturbed.fatal) {
                checkRemains(mPair.disturbed);
                checkNext();
            }
        }
    }

    void checkRemains(const Trial& seen) {
        const bool isSame = seen.result == operation().traits.success;
        EXPECT_TRUE(seen.done);
        EXPECT_NE(seen.result, kWrongOutputs);
        EXPECT_EQ(seen.locks, isSame ? operation().traits.locks : 0);
        EXPECT_EQ(seen.descriptors, mUndisturbed.disturbed.descriptors);
        EXPECT_EQ(seen.mappings, 0);
    }

    // The fault is over, and so are its consequences.
    void checkNext() {
        if (operation().traits.fresh) {
            return;  // start-up happens once
        }
        EXPECT_TRUE(mPair.next.done);
        EXPECT_EQ(mPair.next.result, operation().traits.success);
        EXPECT_EQ(mPair.next.calls, mUndisturbed.next.calls);
        EXPECT_EQ(mPair.next.locks, operation().traits.locks);
        EXPECT_EQ(mPair.next.descriptors, 0);
        EXPECT_EQ(mPair.next.mappings, 0);
    }

    Pair mUndisturbed = {};
    Pair mPair = {};
};

TEST_P(Sweep, AnyCallMayFail) {
    ASSERT_NO_FATAL_FAILURE(findCalls());
    for (size_t call = 0; call < mUndisturbed.disturbed.calls; ++call) {
        ASSERT_NO_FATAL_FAILURE(sweepCall(call));
    }
}

std::string nameOf(const testing::TestParamInfo<Operation>& info) {
    std::string name = info.param.name;
    std::ranges::replace_if(
            name, [](char c) { return !isalnum(c); }, '_');
    return name;
}

// The facade first: its start-up needs a process in which nothing has been built.
INSTANTIATE_TEST_SUITE_P(Every, Sweep, testing::ValuesIn(allOperations()), nameOf);

}  // namespace

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

}  // namespace zelkcam::faults
