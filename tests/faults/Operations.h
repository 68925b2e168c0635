// The public operations that are swept, and what each may answer when a call beneath it fails.
#pragma once

#include <climits>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/utils.h"
#include "tests/faults/FaultyGralloc.h"

namespace zelkcam::faults {

// The answer of an operation that ends the process, and of one whose outputs are not as they must
// be after its result.
inline constexpr int64_t kFatal = INT64_C(1) << 40;
inline constexpr int64_t kWrongOutputs = kFatal + 1;

inline constexpr int32_t kBlob = 0x21;
inline constexpr int32_t kNv21 = 0x11;
inline constexpr uint64_t kCpu = 0x33;
// What an output holds beforehand.
inline constexpr int32_t kUntouched = 0x5a5a5a5a;

// A documented failure, and the words in the log that tell it; null when it is not told.
struct Failure {
    int64_t result;
    const char* message;
};
using Failures = std::vector<Failure>;

// The codes of a mapper, told by `message`.
inline Failures mapperCodes(const char* message) {
    return {{1, message}, {2, message}, {3, message}, {5, message}, {7, message}};
}

inline Failures with(Failures failures, const Failures& more) {
    failures.insert(failures.end(), more.begin(), more.end());
    return failures;
}

// What one trial works on. Made and released behind the doors' back.
struct Stage {
    aidl::android::hardware::graphics::allocator::AllocationResult allocation;
    native_handle_t* raw = nullptr;
    buffer_handle_t buffer = nullptr;
    int fence = -1;
    void* address = nullptr;
};

struct Operation {
    std::string name;
    std::function<int64_t(Stage&)> run;
    Failures failures = {};
    // What the stage holds besides the imported buffer.
    bool withFence = false;
    bool locked = false;
    // Locks that are left on the buffer when it succeeds.
    int locks = 0;
    // The format of the stage's buffer; 0 for none.
    int32_t format = kBlob;
    // Needs a process that has not built the helper yet.
    bool fresh = false;
    bool mayEndProcess = false;
    // What is built once, before anything is counted.
    std::function<void()> prepare = [] {};
};

void setStage(const Operation& operation, Stage& stage);
// Answers the locks that it had to undo.
int clearStage(Stage& stage);

std::vector<Operation> facadeOperations();
std::vector<Operation> backendOperations();

}  // namespace zelkcam::faults
