// Scripted fences, properties, clock and hardware binder state.
//
// Installed, this takes the place of sync_wait, close, property_get_int32, systemTime and
// android::hardware::IPCThreadState's self and flushCommands.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>

namespace zelkcam::test {

struct PlatformScript {
    int syncWaitResult = 0;
    bool hasThreadState = true;             // false: IPCThreadState::self answers null
    std::map<std::string, int> properties;  // what is not here is unset
    std::deque<int64_t> clock;              // nanoseconds, one a reading; 0 when it has run dry
};

PlatformScript& platformScript();

}  // namespace zelkcam::test
