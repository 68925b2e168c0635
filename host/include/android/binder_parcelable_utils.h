// What generated records need: how long they stay as they are, and how they fail.
#pragma once

#include <cstdint>
#include <optional>

#include <android/binder_parcel_utils.h>
#include <android/binder_status.h>

#define RETURN_ON_FAILURE(expr)           \
    do {                                  \
        binder_status_t _status = (expr); \
        if (_status != STATUS_OK) {       \
            return _status;               \
        }                                 \
    } while (false)

namespace ndk {

using parcelable_stability_t = int32_t;

enum {
    STABILITY_LOCAL,
    STABILITY_VINTF,
};

}  // namespace ndk
