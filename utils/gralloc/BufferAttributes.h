// The attributes that the buffer-attribute extension reports of a buffer.
#pragma once

#include <cstdint>

#include "platform/utils.h"

namespace NSCam::gralloc {

// Zeroed by its user before it is read into.
struct Extra {
    int32_t format = 0;  // the concrete pixel format
    int32_t usage = 0;
    uint64_t width = 0;           // pixels
    uint64_t height = 0;          // pixels
    uint64_t stride = 0;          // pixels between two rows
    uint64_t verticalStride = 0;  // allocated rows of the first plane
    uint64_t allocSize = 0;       // bytes
    uint32_t bufferFlags = 0;
    int32_t stride32 = 0;  // stride, for the rules that compute in 32 bits
    int32_t height32 = 0;  // height, likewise
};

// Reads every attribute of the buffer. Returns 0, or INT32_MIN, with an error line, when any of the
// reads failed; the others have been made all the same.
int gQueryExtra(const native_handle* handle, Extra& extra);

}  // namespace NSCam::gralloc
