// Where chroma samples lie relative to luma samples.
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

enum class ChromaSiting : int64_t {
    // the content has no chroma
    NONE = 0,
    UNKNOWN = 1,
    SITED_INTERSTITIAL = 2,
    COSITED_HORIZONTAL = 3,
    COSITED_VERTICAL = 4,
    COSITED_BOTH = 5,
};

// The enumerator's name; of several with one value the first; the number of an unknown value.
[[nodiscard]] static inline std::string toString(ChromaSiting val) {
    switch (val) {
        case ChromaSiting::NONE:
            return "NONE";
        case ChromaSiting::UNKNOWN:
            return "UNKNOWN";
        case ChromaSiting::SITED_INTERSTITIAL:
            return "SITED_INTERSTITIAL";
        case ChromaSiting::COSITED_HORIZONTAL:
            return "COSITED_HORIZONTAL";
        case ChromaSiting::COSITED_VERTICAL:
            return "COSITED_VERTICAL";
        case ChromaSiting::COSITED_BOTH:
            return "COSITED_BOTH";
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
constexpr inline std::array<aidl::android::hardware::graphics::common::ChromaSiting, 6>
        enum_values<aidl::android::hardware::graphics::common::ChromaSiting> = {
                aidl::android::hardware::graphics::common::ChromaSiting::NONE,
                aidl::android::hardware::graphics::common::ChromaSiting::UNKNOWN,
                aidl::android::hardware::graphics::common::ChromaSiting::SITED_INTERSTITIAL,
                aidl::android::hardware::graphics::common::ChromaSiting::COSITED_HORIZONTAL,
                aidl::android::hardware::graphics::common::ChromaSiting::COSITED_VERTICAL,
                aidl::android::hardware::graphics::common::ChromaSiting::COSITED_BOTH,
};

}  // namespace internal
}  // namespace ndk
