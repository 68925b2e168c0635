// Every operation, again and again: each time one platform call that it makes fails in one way. The
// calls are found by running the operation undisturbed, so a new call is swept without being named.
//
// What the library trusts by contract is left out: the length of a list of buffers that an
// allocator reports success with, the 224 bytes behind a pointer to HDR10+ metadata, the size that
// a mapper announces for a value that it then leaves unwritten, and that a HIDL call whose
// transport failed has not called back. So is what has no result to look at: munmap, the log, the
// switchboard.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "platform/ulog.h"
#include "tests/faults/Doors.h"
#include "tests/faults/Operations.h"
#include "tests/support/Holdings.h"

namespace zelkcam::faults {

namespace {

enum class Expected {
    kSame,   // the result is as if nothing had happened
    kFails,  // a documented failure of the operation
    kCode,   // the fault's own number; 5 when the call did not get through
    kEither
};

// Which result a fault has to have. The first rule that fits counts, by the beginnings of the
// names; where none does, either result is right, a failure with its message.
struct Rule {
    const char* operation;
    const char* door;
    const char* fault;
    Expected result;
    // What the log holds; null: for kSame nothing new, for a failure its own message.
    const char* message = nullptr;
    // Contract: descriptors that stay open when the operation fails.
    int leaves = 0;
};

constexpr Rule kRules[] = {
        {"", "IPCThreadState", "", Expected::kSame, "get IPCThreadState singleton failed"},
        {"", "close", "", Expected::kSame},
        {"", "systemTime", "", Expected::kSame},
        {"", "sync_wait", "", Expected::kSame},
        {"", "native_handle_delete", "", Expected::kSame},
        {"", "plexa_sf_set_status", "", Expected::kSame},
        {"", "property_get_int32", "", Expected::kSame},

        {"start-up", "AServiceManager_checkService", "", Expected::kFails},
        {"", "getIMapperLibrarySuffix", "", Expected::kFails},
        {"", "android_load_sphal_library", "", Expected::kFails},
        {"", "AIMapper_loadIMapper", "", Expected::kFails},
        {"Mapper", "hidl IMapper::getService", "", Expected::kSame},
        {"Mapper", "hidl isRemote", "", Expected::kFails},
        {"Allocator", "hidl IAllocator::getService", "", Expected::kFails},
        {"AllocatorAidl", "AServiceManager_checkService", "", Expected::kFails},

        {"query of", "allocate2", "", Expected::kFails, "Bad allcation handle"},
        {"query of", "importBuffer", "", Expected::kFails, "Bad allcation handle"},
        {"query of", "freeBuffer", "", Expected::kSame, "freeBuffer("},
        {"query of", "plexa_query format", "", Expected::kFails},
        {"query of", "plexa_query", "", Expected::kFails, "plexa_query returns"},
        {"query of", "lock", "", Expected::kFails, "status:-"},
        {"query of", "unlock", "no fence", Expected::kSame},
        {"query of", "unlock", "", Expected::kSame, "unlock("},
        // Read twice: to look for the layout, then to derive it.
        {"description of", "plexa_query format", "un", Expected::kEither},
        {"description of", "plexa_query format", "", Expected::kFails},
        {"description of", "plexa_query descriptor", "", Expected::kFails, "ionFd:"},
        {"description of", "plexa_query", "", Expected::kFails, "plexa_query returns"},
        {"description of", "lock", "", Expected::kFails, "status:-"},

        {"set", "plexa_perform", "", Expected::kCode},
        {"set", "plexa_query", "", Expected::kSame},
        {"setGrallocMeta", "setStandardMetadata", "", Expected::kCode},
        {"importBuffer", "importBuffer", "null", Expected::kSame},
        {"importBuffer", "importBuffer", "", Expected::kFails},
        {"freeBuffer", "freeBuffer", "", Expected::kCode},
        {"lock", "lock", "", Expected::kCode},
        {"unlock", "unlock", "no fence", Expected::kSame},
        {"unlock", "unlock", "", Expected::kSame, "unlock("},

        {"MapperV5::importBuffer", "importBuffer", "null", Expected::kSame},
        {"MapperV5::importBuffer", "importBuffer", "", Expected::kCode},
        {"MapperV5::freeBuffer", "freeBuffer", "", Expected::kCode},
        {"MapperV5::lock", "lock", "", Expected::kCode},
        {"MapperV5::lock with outputs", "getStandardMetadata", "BAD", Expected::kSame,
         "Received something other than UNSUPPORTED"},
        {"MapperV5::lock with outputs", "getStandardMetadata", "grown", Expected::kEither},
        {"MapperV5::lock with outputs", "getStandardMetadata", "least", Expected::kSame,
         "Received something other than UNSUPPORTED"},
        {"MapperV5::lock with outputs", "getStandardMetadata", "NO_RES", Expected::kSame,
         "Received something other than UNSUPPORTED"},
        {"MapperV5::lock with outputs", "getStandardMetadata", "", Expected::kSame},
        // The acquire fence, or the release fence of the unlock that an unusable layout leads to.
        {"MapperV5::lock as YCbCr", "getStandardMetadata", "", Expected::kEither, nullptr, 1},
        {"MapperV5::unlock", "unlock", "failed with a fence", Expected::kSame, "unlock("},
        {"MapperV5::unlock", "unlock", "no fence", Expected::kFails},
        {"MapperV5::unlock", "unlock", "", Expected::kFails, "unlock("},
        {"MapperV5::getPlaneLayouts", "getStandardMetadata", "BAD", Expected::kFails,
         "Received something other than UNSUPPORTED"},
        {"MapperV5::getPlaneLayouts", "getStandardMetadata", "UNSUPPORTED", Expected::kFails},
        {"MapperV5::allocate", "allocate2", "", Expected::kFails},
        {"MapperV5::allocate", "importBuffer", "null", Expected::kSame},
        {"MapperV5::allocate", "importBuffer", "", Expected::kFails},
        {"MapperV5::free", "freeBuffer", "", Expected::kSame, "freeBuffer("},

        {"Mapper::", "native_handle_init", "", Expected::kFails, "native_handle_init return null",
         1},
        {"Mapper::importBuffer", "hidl importBuffer", "null", Expected::kSame},
        {"Mapper::importBuffer", "hidl importBuffer", "", Expected::kCode},
        {"Mapper::freeBuffer", "hidl freeBuffer", "", Expected::kCode},
        {"Mapper::lock with outputs", "hidl get", "BAD", Expected::kSame, "get(android."},
        {"Mapper::lock with outputs", "hidl get", "NO_RES", Expected::kSame, "get(android."},
        {"Mapper::lock with outputs", "hidl get", "UNSUPPORTED", Expected::kSame, "get(android."},
        {"Mapper::lock with outputs", "hidl get", "transport", Expected::kSame, "get(android."},
        {"Mapper::lock with outputs", "hidl get", "", Expected::kSame},
        {"Mapper::lock as YCbCr", "hidl get", "", Expected::kEither, nullptr, 1},
        {"Mapper::lock", "hidl lock", "", Expected::kCode},
        {"Mapper::unlock", "hidl unlock", "no fence", Expected::kFails},
        {"Mapper::unlock", "hidl unlock", "two fences", Expected::kFails},
        {"Mapper::unlock", "hidl unlock", "", Expected::kFails, "unlock("},
        {"Mapper::unlock", "dup", "", Expected::kFails},
        {"Mapper::allocate three", "hidl allocate", "null", Expected::kFails},
        {"Mapper::allocate three", "hidl allocate", "", Expected::kCode},
        {"Mapper::allocate three", "hidl importBuffer", "null", Expected::kSame},
        {"Mapper::allocate three", "hidl importBuffer", "", Expected::kCode},
        {"Mapper::allocate one", "hidl importBuffer", "null", Expected::kSame},
        {"Mapper::allocate one", "hidl", "", Expected::kFails},
        {"Mapper::free", "hidl freeBuffer", "", Expected::kSame, "freeBuffer("},
        {"createDescriptor", "hidl createDescriptor", "", Expected::kCode},
};

const Rule& ruleOf(const Operation& operation, const Door& door, const Fault& fault) {
    static constexpr Rule kAny = {"", "", "", Expected::kEither};
    const auto found = std::ranges::find_if(kRules, [&](const Rule& rule) {
        return operation.name.starts_with(rule.operation) &&
               std::string_view(door.name).starts_with(rule.door) &&
               std::string_view(fault.name).starts_with(rule.fault);
    });
    return found == std::end(kRules) ? kAny : *found;
}

// Runs the operation once, on a stage of its own.
void run(const Operation& operation, size_t failingCall, size_t fault) {
    Trial& now = trial();
    memset(&now, 0, sizeof(now));
    now.failingCall = failingCall;
    now.fault = fault;
    operation.prepare();
    const test::Holdings before = test::holdings();
    Stage stage;
    setStage(operation, stage);
    now.lines = 0;
    now.log[0] = '\0';

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
    run(operation, kNoCall, 0);
}

void runForked(const Operation& operation, size_t failingCall, size_t fault) {
    const pid_t child = fork();
    if (child == 0) {
        runTwice(operation, failingCall, fault);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const bool aborted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT && trial().fatal;
    EXPECT_TRUE(aborted || status == 0) << operation.name << " ended by itself: " << status;
    if (aborted) {
        trial().result = kFatal;
    }
}

void exercise(const Operation& operation, size_t failingCall, size_t fault, Pair& out) {
    kept().done = false;
    if (operation.mayEndProcess) {
        runForked(operation, failingCall, fault);
    } else {
        runTwice(operation, failingCall, fault);
    }
    out.disturbed = kept().done ? kept() : trial();
    out.next = trial();
}

bool isTold(const Operation& operation, const Trial& seen, const Rule& rule) {
    const std::string_view log = seen.log;
    if (rule.message != nullptr) {
        return log.find(rule.message) != log.npos;
    }
    return std::ranges::any_of(operation.failures, [&](const Failure& failure) {
        return failure.result == seen.result &&
               (failure.message == nullptr || log.find(failure.message) != log.npos);
    });
}

bool isDocumented(const Operation& operation, int64_t result) {
    return std::ranges::any_of(operation.failures,
                               [&](const Failure& failure) { return failure.result == result; });
}

int64_t codeOf(const Fault& fault) {
    return fault.name == std::string_view("transport") ? 5 : fault.value;
}

class Sweep : public testing::TestWithParam<Operation> {
  protected:
    static void SetUpTestSuite() {
        NSCam::Utils::ULog::ULogger::sDetailsLevel = 2;
        NSCam::Utils::ULog::ULogger::sMode = 1;
        [[maybe_unused]] static const bool once = (installFaultyGralloc(), true);
    }
    static void TearDownTestSuite() { printf("%zu faults in all\n", sFaults); }

    const Operation& operation() const { return GetParam(); }

    void findCalls() {
        if (!operation().fresh) {
            runTwice(operation(), kNoCall, 0);  // what is built once
        }
        exercise(operation(), kNoCall, 0, mUndisturbed);
        const Trial& seen = mUndisturbed.disturbed;
        ASSERT_TRUE(seen.done) << seen.log;
        EXPECT_FALSE(isDocumented(operation(), seen.result)) << seen.result << seen.log;
        EXPECT_EQ(seen.locks, operation().locks);
        EXPECT_EQ(seen.descriptors, operation().fresh ? seen.descriptors : 0);
        EXPECT_EQ(seen.mappings, 0);
    }

    void sweepCall(size_t call) {
        const Door& door = *mUndisturbed.disturbed.doors[call];
        for (size_t i = 0; i < door.faults.size(); ++i) {
            SCOPED_TRACE(operation().name + ": call " + std::to_string(call) + ", " + door.name +
                         ": " + door.faults[i].name);
            exercise(operation(), call, i, mPair);
            const bool hit = mPair.disturbed.hit && mPair.disturbed.doors[call] == &door;
            ASSERT_TRUE(hit) << "the call is not made every time";
            check(door, door.faults[i]);
            if (!mPair.disturbed.fatal) {
                checkNext();
            }
            ++sFaults;
        }
    }

    void check(const Door& door, const Fault& fault) {
        const Trial& seen = mPair.disturbed;
        const Rule& rule = ruleOf(operation(), door, fault);
        const bool same = seen.result == mUndisturbed.disturbed.result;
        switch (rule.result) {
            case Expected::kSame:
                EXPECT_TRUE(same) << seen.result;
                break;
            case Expected::kCode:
                EXPECT_EQ(seen.result, codeOf(fault));
                [[fallthrough]];
            case Expected::kFails:
                EXPECT_FALSE(same);
                break;
            case Expected::kEither:
                break;
        }
        const bool isQuiet = rule.result == Expected::kSame && rule.message == nullptr;
        EXPECT_TRUE(!isQuiet || seen.lines == mUndisturbed.disturbed.lines) << seen.log;
        const bool silent = same && rule.message == nullptr;
        EXPECT_TRUE(silent || isTold(operation(), seen, rule)) << seen.result << "\n" << seen.log;
        if (!seen.fatal) {
            checkRemains(seen, same, rule);
        }
    }

    void checkRemains(const Trial& seen, bool same, const Rule& rule) {
        EXPECT_EQ(seen.locks, same ? operation().locks : 0);
        EXPECT_EQ(seen.descriptors, mUndisturbed.disturbed.descriptors + (same ? 0 : rule.leaves));
        EXPECT_EQ(seen.mappings, 0);
    }

    // The fault is over, and so are its consequences.
    void checkNext() {
        if (operation().fresh) {
            return;  // start-up happens once
        }
        EXPECT_TRUE(mPair.next.done);
        EXPECT_EQ(mPair.next.result, mUndisturbed.next.result) << mPair.next.log;
        EXPECT_EQ(mPair.next.calls, mUndisturbed.next.calls);
        EXPECT_EQ(mPair.next.lines, mUndisturbed.next.lines) << mPair.next.log;
        EXPECT_EQ(mPair.next.locks, operation().locks);
        EXPECT_EQ(mPair.next.descriptors, 0);
        EXPECT_EQ(mPair.next.mappings, 0);
    }

    Pair mUndisturbed = {};
    Pair mPair = {};
    static size_t sFaults;
};

size_t Sweep::sFaults = 0;

TEST_P(Sweep, anyCallMayFail) {
    ASSERT_NO_FATAL_FAILURE(findCalls());
    const size_t before = sFaults;
    for (size_t call = 0; call < mUndisturbed.disturbed.calls; ++call) {
        ASSERT_NO_FATAL_FAILURE(sweepCall(call));
    }
    printf("%s: %zu calls, %zu faults\n", operation().name.c_str(), mUndisturbed.disturbed.calls,
           sFaults - before);
}

std::string nameOf(const testing::TestParamInfo<Operation>& info) {
    std::string name = info.param.name;
    std::ranges::replace_if(
            name, [](char c) { return !isalnum(c); }, '_');
    return name;
}

// The facade first: its start-up needs a process in which nothing has been built.
INSTANTIATE_TEST_SUITE_P(Facade, Sweep, testing::ValuesIn(facadeOperations()), nameOf);
INSTANTIATE_TEST_SUITE_P(Backends, Sweep, testing::ValuesIn(backendOperations()), nameOf);

}  // namespace

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

}  // namespace zelkcam::faults
