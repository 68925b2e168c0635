// What every generated AIDL enumeration offers beside its values.
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

#include "zelkcam/host/EnumNames.h"

// In the enumeration's own namespace. The text of a value without a name is its number.
#define ZELKCAM_AIDL_ENUM(E, LIST)                                                            \
    ZELKCAM_ENUM_NAMES(E, LIST)                                                               \
    [[nodiscard]] static inline std::string toString(E val) {                                 \
        const char* name = ::zelkcam::host::enumName(val);                                    \
        return name != nullptr ? name                                                         \
                               : std::to_string(static_cast<std::underlying_type_t<E>>(val)); \
    }
