#include "utils/gralloc/BufferAttributes.h"

#include <climits>

#include "platform/plexa.h"
#include "utils/gralloc/FacadeLog.h"

namespace NSCam::gralloc {

namespace {

// The extension writes 32 bits, at the start of the field: a wider field keeps a clear upper half
// because it is zeroed right before the read.
template <typename Field>
int readAttribute(const native_handle* handle, plexa_attribute_t attribute, Field& field) {
    field = 0;
    return plexa_query(handle, attribute, &field);
}

}  // namespace

int gQueryExtra(const native_handle* handle, Extra& extra) {
    // Contract: these ten reads, in this order, and none is skipped when an earlier one failed.
    int result = readAttribute(handle, PLEXA_GET_FORMAT, extra.format);
    result |= readAttribute(handle, PLEXA_GET_USAGE, extra.usage);
    result |= readAttribute(handle, PLEXA_GET_WIDTH, extra.width);
    result |= readAttribute(handle, PLEXA_GET_HEIGHT, extra.height);
    result |= readAttribute(handle, PLEXA_GET_STRIDE, extra.stride);
    result |= readAttribute(handle, PLEXA_GET_VERTICAL_STRIDE, extra.verticalStride);
    result |= readAttribute(handle, PLEXA_GET_ALLOC_SIZE, extra.allocSize);
    result |= readAttribute(handle, PLEXA_GET_BUFFER_FLAGS, extra.bufferFlags);
    result |= readAttribute(handle, PLEXA_GET_STRIDE, extra.stride32);
    result |= readAttribute(handle, PLEXA_GET_HEIGHT, extra.height32);
    if (result == 0) {
        return 0;
    }

    LOGE("Given buffer_handle_t:%p, plexa_query returns %d", static_cast<const void*>(handle),
         result);
    return INT32_MIN;
}

}  // namespace NSCam::gralloc
