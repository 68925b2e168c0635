// Why an allocation failed. Note that the first code is 0 and a failure all the same.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <android/binder_enums.h>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

namespace aidl {
namespace android {
namespace hardware {
namespace graphics {
namespace allocator {

enum class AllocationError : int32_t {
    BAD_DESCRIPTOR = 0,
    NO_RESOURCES = 1,
    UNSUPPORTED = 2,
};

// The enumerator's name; of several with one value the first; the number of an unknown value.
[[nodiscard]] static inline std::string toString(AllocationError val) {
    switch (val) {
        case AllocationError::BAD_DESCRIPTOR:
            return "BAD_DESCRIPTOR";
        case AllocationError::NO_RESOURCES:
            return "NO_RESOURCES";
        case AllocationError::UNSUPPORTED:
            return "UNSUPPORTED";
        default:
            return std::to_string(static_cast<int32_t>(val));
    }
}

}  // namespace allocator
}  // namespace graphics
}  // namespace hardware
}  // namespace android
}  // namespace aidl

namespace ndk {
namespace internal {

template <>
constexpr inline std::array<aidl::android::hardware::graphics::allocator::AllocationError, 3>
        enum_values<aidl::android::hardware::graphics::allocator::AllocationError> = {
                aidl::android::hardware::graphics::allocator::AllocationError::BAD_DESCRIPTOR,
                aidl::android::hardware::graphics::allocator::AllocationError::NO_RESOURCES,
                aidl::android::hardware::graphics::allocator::AllocationError::UNSUPPORTED,
};

}  // namespace internal
}  // namespace ndk
