// Types of the base of all HIDL interfaces.
#pragma once

#include <stdint.h>

#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlTypes.h"

namespace android::hidl::base::V1_0 {

#define ZELKCAM_HIDL_ARCHITECTURE(ROW) \
    ROW(UNKNOWN, 0)                    \
    ROW(IS_64BIT, 1)                   \
    ROW(IS_32BIT, 2)

// Where an object lives.
struct DebugInfo final {
    enum class Architecture : int32_t { ZELKCAM_HIDL_ARCHITECTURE(ZELKCAM_ENUMERATOR) };

    int32_t pid __attribute__((aligned(4)));   // -1 when it is not known
    uint64_t ptr __attribute__((aligned(8)));  // the object's address in that process, or 0
    Architecture arch __attribute__((aligned(4)));

    friend bool operator==(const DebugInfo&, const DebugInfo&) = default;
};

ZELKCAM_HIDL_ENUM(DebugInfo::Architecture, ZELKCAM_HIDL_ARCHITECTURE)
ZELKCAM_HIDL_RECORD_TEXT(DebugInfo, pid, ptr, arch)

}  // namespace android::hidl::base::V1_0
