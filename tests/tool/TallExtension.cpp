// A buffer-attribute extension of a maker's own: preloaded, it takes the place of the one that asks
// the mapper and leaves it the rest. It counts rows in whole 64s whatever the planes tell, strides
// in whole 96s and sizes in whole 64 KiB.
#include <dlfcn.h>

#include "platform/plexa.h"

extern "C" __attribute__((visibility("default"))) int plexa_query(const native_handle* handle,
                                                                  int attribute, void* out) {
    using Query = int (*)(const native_handle*, int, void*);
    static const auto next = reinterpret_cast<Query>(dlsym(RTLD_NEXT, "plexa_query"));
    const bool isRows = attribute == PLEXA_GET_VERTICAL_STRIDE;
    const int result = next(handle, isRows ? +PLEXA_GET_HEIGHT : attribute, out);
    const int32_t unit = isRows                              ? 64
                         : attribute == PLEXA_GET_STRIDE     ? 96
                         : attribute == PLEXA_GET_ALLOC_SIZE ? 65536
                                                             : 0;
    if (result == 0 && unit != 0) {
        auto* const number = static_cast<int32_t*>(out);
        *number = (*number + unit - 1) / unit * unit;
    }
    return result;
}
