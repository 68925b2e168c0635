#include "host/check/CallStack.h"

#include <execinfo.h>

#include <algorithm>

namespace zelkcam::host::check {

CallStack CallStack::here() {
    CallStack stack;
    const int count = backtrace(stack.mFrames.data(), static_cast<int>(stack.mFrames.size()));
    stack.mCount = static_cast<size_t>(std::max(count, 0));
    return stack;
}

CallStack CallStack::ofSignal(void* pc) {
    CallStack stack = here();
    void** const end = stack.mFrames.data() + stack.mCount;
    void** const struck = std::find(stack.mFrames.data(), end, pc);
    if (struck == end) {
        stack.mFrames[0] = pc;
        stack.mCount = 1;
    } else {
        stack.mCount = static_cast<size_t>(std::copy(struck, end, stack.mFrames.data()) -
                                           stack.mFrames.data());
    }
    stack.mBeginsAtInstruction = true;
    return stack;
}

}  // namespace zelkcam::host::check
