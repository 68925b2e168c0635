// The public operations that are swept.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/FaultyGralloc.h"

namespace zelkcam::faults {

// What an operation answers whose outputs are not as they must be after its result.
inline constexpr int64_t kWrongOutputs = INT64_C(1) << 40;

inline constexpr int32_t kBlob = 0x21;
inline constexpr int32_t kNv21 = 0x11;
inline constexpr uint64_t kCpu = 0x33;

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
    // The format of the stage's buffer; 0 for none.
    int32_t format = kBlob;
    int64_t success = 0;
    // Whether the stage holds a fence, and a lock, besides the imported buffer.
    bool withFence = false;
    bool locked = false;
    // Locks that are left on the buffer when it succeeds.
    int locks = 0;
    // Contract: the most descriptors that stay open when it fails.
    int leaves = 0;
    // Needs a process that has not built the helper yet.
    bool fresh = false;
    bool mayEndProcess = false;
};

void setStage(const Operation& operation, Stage& stage);
// Answers the locks that it had to undo.
int clearStage(Stage& stage);

// What is built once, before anything is counted; and the cache empty again.
void buildOnce();

std::vector<Operation> allOperations();

}  // namespace zelkcam::faults
