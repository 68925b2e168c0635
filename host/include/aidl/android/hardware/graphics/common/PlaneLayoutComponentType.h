// What a component of a plane holds. The values are not meant to be combined.
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

enum class PlaneLayoutComponentType : int64_t {
    Y = 1,
    CB = 2,
    CR = 4,
    R = 1024,
    G = 2048,
    B = 4096,
    RAW = 1048576,
    A = 1073741824,
};

// The enumerator's name; of several with one value the first; the number of an unknown value.
[[nodiscard]] static inline std::string toString(PlaneLayoutComponentType val) {
    switch (val) {
        case PlaneLayoutComponentType::Y:
            return "Y";
        case PlaneLayoutComponentType::CB:
            return "CB";
        case PlaneLayoutComponentType::CR:
            return "CR";
        case PlaneLayoutComponentType::R:
            return "R";
        case PlaneLayoutComponentType::G:
            return "G";
        case PlaneLayoutComponentType::B:
            return "B";
        case PlaneLayoutComponentType::RAW:
            return "RAW";
        case PlaneLayoutComponentType::A:
            return "A";
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
constexpr inline std::array<aidl::android::hardware::graphics::common::PlaneLayoutComponentType, 8>
        enum_values<aidl::android::hardware::graphics::common::PlaneLayoutComponentType> = {
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::Y,
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::CB,
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::CR,
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::R,
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::G,
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::B,
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::RAW,
                aidl::android::hardware::graphics::common::PlaneLayoutComponentType::A,
};

}  // namespace internal
}  // namespace ndk
