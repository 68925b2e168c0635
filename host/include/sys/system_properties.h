// Bounds of system properties.
#pragma once

#include <sys/cdefs.h>

// Bytes with the terminating zero.
#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92
