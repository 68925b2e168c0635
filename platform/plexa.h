// The buffer-attribute extension (libplexa): attributes of a buffer that the standard mapper
// interface does not have. A device maker supplies it; this tree also holds one over any
// version-5 mapper's standard metadata.
//
// Every function is safe from any thread, for one buffer and for several. Result 0 is success, any
// other value a failure without further meaning to the caller.
#pragma once

#include <stdint.h>

struct native_handle;

#ifdef __cplusplus
extern "C" {
#endif

// Attributes of plexa_query; the comment gives the value written through `out`.
enum plexa_attribute_t {
    PLEXA_GET_ION_FD = 1,            // int32_t: the buffer's shared-memory descriptor, borrowed
    PLEXA_GET_WIDTH = 10,            // int32_t, pixels
    PLEXA_GET_HEIGHT = 11,           // int32_t, pixels
    PLEXA_GET_STRIDE = 12,           // int32_t, pixels between two rows
    PLEXA_GET_VERTICAL_STRIDE = 13,  // int32_t, allocated rows of the first plane
    PLEXA_GET_ALLOC_SIZE = 14,       // int32_t, bytes
    PLEXA_GET_FORMAT = 15,           // int32_t, the pixel format that the allocator chose
    PLEXA_GET_USAGE = 17,            // int32_t, the low half of the usage bits
    PLEXA_GET_BUFFER_FLAGS = 52,     // uint32_t
    PLEXA_GET_SF_INFO = 100,         // plexa_sf_record_t
};

// Operations of plexa_perform; the comment gives what `in` points at.
enum plexa_operation_t {
    PLEXA_SET_SF_INFO = 100,  // plexa_sf_record_t, fetched with PLEXA_GET_SF_INFO and edited
    PLEXA_SET_SOF = 110,      // uint64_t, start-of-frame time stamp
};

// The status record of a buffer. Its inside belongs to the extension; callers provide the 64 bytes,
// zeroed, and edit the status word with plexa_sf_set_status.
typedef struct plexa_sf_record_t {
    uint64_t opaque[8];
} plexa_sf_record_t;

// The extension's HDR10+ record. Its inside belongs to the extension as well.
typedef struct plexa_hdr10p_dynamic_metadata_t {
    uint8_t opaque[224];
} plexa_hdr10p_dynamic_metadata_t;

// Reads one attribute of the buffer into `out`.
int plexa_query(const struct native_handle* handle, int attribute, void* out);

// Applies one operation to the buffer with the input at `in`.
int plexa_perform(const struct native_handle* handle, int operation, void* in);

// Replaces the bits of the record's 32-bit status word that `mask` selects by those of `value`.
int plexa_sf_set_status(plexa_sf_record_t* record, int mask, int value);

#ifdef __cplusplus
}  // extern "C"
#endif
