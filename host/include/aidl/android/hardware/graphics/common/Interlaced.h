// How two fields share a buffer.
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
namespace common {

enum class Interlaced : int64_t {
    NONE = 0,
    TOP_BOTTOM = 1,
    RIGHT_LEFT = 2,
};

// The enumerator's name; of several with one value the first; the number of an unknown value.
[[nodiscard]] static inline std::string toString(Interlaced val) {
    switch (val) {
        case Interlaced::NONE:
            return "NONE";
        case Interlaced::TOP_BOTTOM:
            return "TOP_BOTTOM";
        case Interlaced::RIGHT_LEFT:
            return "RIGHT_LEFT";
        default:
            return std::to_string(static_cast<int64_t>(val));
    }
}

}  // namespace common
}  // namespace graphics
}  // namespace hardware
}  // namespace android
}  // namespace aidl

namespace ndk {
namespace internal {

template <>
constexpr inline std::array<aidl::android::hardware::graphics::common::Interlaced, 3>
        enum_values<aidl::android::hardware::graphics::common::Interlaced> = {
                aidl::android::hardware::graphics::common::Interlaced::NONE,
                aidl::android::hardware::graphics::common::Interlaced::TOP_BOTTOM,
                aidl::android::hardware::graphics::common::Interlaced::RIGHT_LEFT,
};

}  // namespace internal
}  // namespace ndk
