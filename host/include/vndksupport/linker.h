// Loading of a device's own libraries.
#pragma once

#include <sys/cdefs.h>

__BEGIN_DECLS

// Opens a library of the device, as dlopen does with `flag`. Null on failure, which is logged under
// the tag "vndksupport".
void* android_load_sphal_library(const char* name, int flag);

// Closes it, as dlclose does.
int android_unload_sphal_library(void* handle);

__END_DECLS
