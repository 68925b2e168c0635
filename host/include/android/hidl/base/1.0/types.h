// Types of the base of all HIDL interfaces.
#pragma once

#include <stdint.h>

#include <hidl/HidlSupport.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

// Where an object lives.
struct DebugInfo final {
    enum class Architecture : int32_t {
        UNKNOWN = 0,
        IS_64BIT = 1,
        IS_32BIT = 2,
    };

    int32_t pid __attribute__((aligned(4)));   // -1 when it is not to be told
    uint64_t ptr __attribute__((aligned(8)));  // the object's address in that process, or 0
    Architecture arch __attribute__((aligned(4)));
};

inline bool operator==(const DebugInfo& left, const DebugInfo& right) {
    return left.pid == right.pid && left.ptr == right.ptr && left.arch == right.arch;
}
inline bool operator!=(const DebugInfo& left, const DebugInfo& right) {
    return !(left == right);
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
