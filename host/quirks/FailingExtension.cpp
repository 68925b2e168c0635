// libzelkcam_quirk_extension.so: preloaded, it takes the place of the buffer-attribute extension
// and fails whatever it is asked.
#include "platform/plexa.h"

extern "C" {

// Tells the host platform that it is here.
extern const int zelkcam_failingExtension = 1;

int plexa_query(const native_handle*, int, void*) {
    return -1;
}

int plexa_perform(const native_handle*, int, void*) {
    return -1;
}

int plexa_sf_set_status(plexa_sf_record_t*, int, int) {
    return -1;
}

}  // extern "C"
