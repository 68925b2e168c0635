// What the two sources of MapperV5 share: the tag and path of their messages, and the way they call
// the mapper.
#pragma once

#include <vector>

#include "platform/hwbinder.h"
#include "utils/gralloc/Log.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace NSCam::GrallocMapperAidlV2 {

inline constexpr char kLogTag[] = "ZelkCam/GrallocMapperAidlV2";
inline constexpr char kSourcePath[] = "utils/gralloc/aidl/v2/mapper/mapper";

// What is logged of a failure stays out of line: every call that goes well would save registers for
// it.
[[gnu::cold, gnu::noinline]] inline void tellNoThread() {
    LOGE_AS("ipcFlushCommands", "get IPCThreadState singleton failed");
}

inline void flushThread() {
    auto* const thread = android::hardware::IPCThreadState::self();
    if (thread == nullptr) [[unlikely]] {
        tellNoThread();
        return;
    }
    thread->flushCommands();
}

// How every mapper call is made: the thread's binder commands go out before the answer is looked
// at, whatever it is.
template <typename Entry, typename... Arguments>
auto callAndFlush(Entry entry, Arguments... arguments) {
    const auto answer = entry(arguments...);
    flushThread();
    return answer;
}

// Zeroed memory to read metadata into. Not inlined on purpose: for a constant size GCC zeroes with
// a string instruction whose start-up costs more than a call of memset.
std::vector<uint8_t> zeroedBytes(size_t size);

}  // namespace NSCam::GrallocMapperAidlV2
