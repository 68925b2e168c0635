// The public operations that are swept.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/allocator.h"
#include "platform/utils.h"

namespace zelkcam::faults {

// What an operation answers whose outputs are not as they must be after its result.
inline constexpr int64_t kWrongOutputs = INT64_C(1) << 40;

// What one trial works on. Made and released behind the doors' back.
struct Stage {
    aidl::android::hardware::graphics::allocator::AllocationResult allocation;
    native_handle_t* raw = nullptr;
    buffer_handle_t buffer = nullptr;
    void* address = nullptr;
};

struct Traits {
    int64_t success = 0;  // what it answers undisturbed
    int locks = 0;        // left on the buffer then
    bool locked = false;  // the stage's buffer beforehand
    bool fresh = false;   // needs a process that has not built the helper yet
    bool mayEndProcess = false;
};

struct Operation {
    std::string name;
    std::function<int64_t(Stage&)> run;
    int32_t format = 0x21;  // of the stage's buffer; 0 for none
    Traits traits = {};
};

void setStage(const Operation& operation, Stage& stage);
// Answers the locks that it had to undo.
int clearStage(Stage& stage);

// What is built once, before anything is counted; and the cache empty again.
void buildOnce();

std::vector<Operation> allOperations();

}  // namespace zelkcam::faults
