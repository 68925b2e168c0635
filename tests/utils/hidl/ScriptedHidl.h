// The scripted gralloc behind the HIDL interfaces: the mapper's and the allocator's scripts count
// here too, and the calls reach the journal by the same names.
//
// Linked, this takes the place of dup and native_handle_init.
#pragma once

#include <optional>

#include "tests/support/ScriptedGralloc.h"
#include "utils/gralloc/hidl/allocator/allocator.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace zelkcam::test {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using Bytes = hidl_vec<uint8_t>;

// What HIDL alone has.
struct HidlScript {
    // A transport that fails may do so on the way back, when the callback has run already.
    enum class Transport { kWorks, kFailsOnTheWay, kFailsOnTheWayBack };
    Transport transport = Transport::kWorks;
    bool remote = false;
    int32_t describeResult = 0;
    const native_handle_t* releaseFence = nullptr;  // instead of the mapper script's
    bool wrapFails = false;
    bool dupFails = false;
    std::vector<Bytes> descriptors = {};  // that the allocator was given
};

HidlScript& hidlScript();

// Makes both the device's services, with an empty script.
void registerScriptedHidl();

}  // namespace zelkcam::test
