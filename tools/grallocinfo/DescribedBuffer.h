// What the library and the mapper report about a buffer by its handle.
#pragma once

#include "tools/grallocinfo/Answers.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace grallocinfo {

// Throws a Failure when the helper cannot describe the buffer. `handle` is an imported one.
BufferAnswer describeBuffer(const native_handle* handle,
                            const NSCam::GrallocMapperAidlV2::MapperV5& mapper);

}  // namespace grallocinfo
