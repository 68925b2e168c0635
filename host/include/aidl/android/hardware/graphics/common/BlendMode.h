// How a layer is blended with what lies under it.
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

enum class BlendMode : int32_t {
    INVALID = 0,
    NONE = 1,
    PREMULTIPLIED = 2,
    COVERAGE = 3,
};

// The enumerator's name; of several with one value the first; the number of an unknown value.
[[nodiscard]] static inline std::string toString(BlendMode val) {
    switch (val) {
        case BlendMode::INVALID:
            return "INVALID";
        case BlendMode::NONE:
            return "NONE";
        case BlendMode::PREMULTIPLIED:
            return "PREMULTIPLIED";
        case BlendMode::COVERAGE:
            return "COVERAGE";
        default:
            return std::to_string(static_cast<int32_t>(val));
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
constexpr inline std::array<aidl::android::hardware::graphics::common::BlendMode, 4>
        enum_values<aidl::android::hardware::graphics::common::BlendMode> = {
                aidl::android::hardware::graphics::common::BlendMode::INVALID,
                aidl::android::hardware::graphics::common::BlendMode::NONE,
                aidl::android::hardware::graphics::common::BlendMode::PREMULTIPLIED,
                aidl::android::hardware::graphics::common::BlendMode::COVERAGE,
};

}  // namespace internal
}  // namespace ndk
