// What a buffer looks like in memory: the one place where the library's knowledge of pixel formats
// lives.
#pragma once

#include "platform/utils.h"
#include "utils/gralloc/LayoutRecords.h"

namespace NSCam::gralloc {

// Derives the layout of an allocated buffer from its attributes and, for the formats whose chroma
// planes only the allocator can place, from a CPU lock of it. A buffer that cannot be locked then
// is a fatal inconsistency and ends the process.
//
// Returns 0; INT32_MIN when the attributes cannot be read (`info` is untouched) or the allocator
// left the flexible format unresolved; -2 when the format has no rule. In the last two cases all
// fields but `planes` and `allocTimeNs` have been written.
int queryStaticInfo(const native_handle* handle, MyStaticInfo& info);

}  // namespace NSCam::gralloc
