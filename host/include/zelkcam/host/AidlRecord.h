// What every generated AIDL record offers beside its fields.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include <android/binder_interface_utils.h>
#include <android/binder_parcelable_utils.h>
#include <android/binder_to_string.h>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

namespace zelkcam::host {

// "Record{first: 1, second: 2}" from the names in one text, separated by ", ", and the values.
template <typename... Values>
std::string recordToString(std::string_view record, std::string_view names,
                           const Values&... values) {
    std::string text(record);
    const char* separator = "{";
    const auto append = [&](const std::string& value) {
        const size_t end = names.find(", ");
        text.append(separator).append(names.substr(0, end)).append(": ").append(value);
        names.remove_prefix(end == names.npos ? names.size() : end + 2);
        separator = ", ";
    };
    (append(::android::internal::ToString(values)), ...);
    return text + "}";
}

}  // namespace zelkcam::host

// In a record, with all its fields in the order of their declaration.
#define ZELKCAM_AIDL_RECORD(RECORD, ...)                                                 \
    typedef std::false_type fixed_size;                                                  \
    static const char* descriptor;                                                       \
    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_VINTF; \
    binder_status_t readFromParcel(const AParcel* parcel);                               \
    binder_status_t writeToParcel(AParcel* parcel) const;                                \
    inline bool operator==(const RECORD& rhs) const = default;                           \
    inline auto operator<=>(const RECORD& rhs) const = default;                          \
    inline std::string toString() const {                                                \
        return ::zelkcam::host::recordToString(#RECORD, #__VA_ARGS__, __VA_ARGS__);      \
    }                                                                                    \
    /* The host's own, for what is done to every field. */                               \
    auto zelkcamFields() {                                                               \
        return std::tie(__VA_ARGS__);                                                    \
    }                                                                                    \
    auto zelkcamFields() const {                                                         \
        return std::tie(__VA_ARGS__);                                                    \
    }
