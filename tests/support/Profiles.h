// The device profile that a program runs under, for the cases that a profile answers otherwise on
// purpose: `strict` refuses usage 0, odd 4:2:0 sizes and locks without a processor's usage, takes
// the retired usage bits, closes acquire fences and gives release fences.
#pragma once

#include <cstdlib>
#include <string_view>

namespace zelkcam::test {

inline std::string_view profileInForce() {
    const char* const name = std::getenv("ZELKCAM_HOST_PROFILE");
    return name != nullptr && *name != '\0' ? name : "default";
}

// Also as a file of the profile with other release fences.
inline bool isStrict() {
    const std::string_view name = profileInForce();
    return name == "strict" || name.ends_with("/strict-without-fences.json");
}

}  // namespace zelkcam::test
