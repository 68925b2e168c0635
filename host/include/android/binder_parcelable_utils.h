// What generated records say of how long they stay as they are.
#pragma once

#include <cstdint>

#include <android/binder_parcel.h>
#include <android/binder_status.h>

namespace ndk {

using parcelable_stability_t = int32_t;

enum {
    STABILITY_LOCAL,
    STABILITY_VINTF,
};

}  // namespace ndk
