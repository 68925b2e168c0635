// Helpers with which generated code flattens its values. This host has no parcels to fill, so what
// is left is the headers that generated code finds through this one.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>
#include <android/binder_internal_logging.h>
#include <android/binder_parcel.h>
