// One component of a plane.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <aidl/android/hardware/graphics/common/ExtendableType.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcelable_utils.h>
#include <android/binder_to_string.h>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

namespace aidl {
namespace android {
namespace hardware {
namespace graphics {
namespace common {

class PlaneLayoutComponent {
  public:
    typedef std::false_type fixed_size;
    static const char* descriptor;

    ::aidl::android::hardware::graphics::common::ExtendableType type;
    // From the start of the plane; -1 when it cannot be stated.
    int64_t offsetInBits = 0L;
    // Of one sample; -1 when it cannot be stated.
    int64_t sizeInBits = 0L;

    binder_status_t readFromParcel(const AParcel* parcel);
    binder_status_t writeToParcel(AParcel* parcel) const;

    inline bool operator==(const PlaneLayoutComponent& rhs) const {
        return std::tie(type, offsetInBits, sizeInBits) ==
               std::tie(rhs.type, rhs.offsetInBits, rhs.sizeInBits);
    }
    inline bool operator!=(const PlaneLayoutComponent& rhs) const {
        return std::tie(type, offsetInBits, sizeInBits) !=
               std::tie(rhs.type, rhs.offsetInBits, rhs.sizeInBits);
    }
    inline bool operator<(const PlaneLayoutComponent& rhs) const {
        return std::tie(type, offsetInBits, sizeInBits) <
               std::tie(rhs.type, rhs.offsetInBits, rhs.sizeInBits);
    }
    inline bool operator>(const PlaneLayoutComponent& rhs) const {
        return std::tie(type, offsetInBits, sizeInBits) >
               std::tie(rhs.type, rhs.offsetInBits, rhs.sizeInBits);
    }
    inline bool operator<=(const PlaneLayoutComponent& rhs) const {
        return std::tie(type, offsetInBits, sizeInBits) <=
               std::tie(rhs.type, rhs.offsetInBits, rhs.sizeInBits);
    }
    inline bool operator>=(const PlaneLayoutComponent& rhs) const {
        return std::tie(type, offsetInBits, sizeInBits) >=
               std::tie(rhs.type, rhs.offsetInBits, rhs.sizeInBits);
    }

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF;
    inline std::string toString() const {
        std::ostringstream os;
        os << "PlaneLayoutComponent{";
        os << "type: " << ::android::internal::ToString(type);
        os << ", offsetInBits: " << ::android::internal::ToString(offsetInBits);
        os << ", sizeInBits: " << ::android::internal::ToString(sizeInBits);
        os << "}";
        return os.str();
    }
};

}  // namespace common
}  // namespace graphics
}  // namespace hardware
}  // namespace android
}  // namespace aidl
