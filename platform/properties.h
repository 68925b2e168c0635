// System properties (libcutils).
//
// The library uses: property_get_int32.
#pragma once

#include <cutils/properties.h>
