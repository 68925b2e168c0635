#include <dlfcn.h>

#include <android/log.h>
#include <vndksupport/linker.h>

#include "host/sphal/VendorLibrary.h"

void* android_load_sphal_library(const char* name, int flag) {
    if (name == nullptr) {
        return dlopen(nullptr, flag);
    }
    const zelkcam::host::VendorLibrary library = zelkcam::host::openVendorLibrary(name, flag);
    if (library.handle == nullptr) {
        __android_log_print(ANDROID_LOG_ERROR, "vndksupport", "Could not load %s: %s", name,
                            library.error.c_str());
    }
    return library.handle;
}

int android_unload_sphal_library(void* handle) {
    return dlclose(handle);
}
