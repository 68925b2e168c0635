// What a buffer looks like in memory: the one place where the library's knowledge of pixel formats
// lives.
#pragma once

#include <cstdint>

#include "platform/utils.h"
#include "utils/gralloc/IGrallocInfoProvider.h"

namespace NSCam::gralloc {

// A derived layout and what the dumps show beside it: the value of the layout cache.
struct MyStaticInfo : zcam::GrallocStaticInfo {
    int64_t allocTimeNs = 0;   // what the probe's allocation took; the derivation leaves it alone
    int32_t usage = 0;         // as the buffer reports it
    uint64_t allocSize = 0;    // bytes
    uint32_t bufferFlags = 0;  // as the buffer reports them
};

// Derives the layout of an allocated buffer from its attributes and, for the formats whose chroma
// planes only the allocator can place, from a CPU lock of it. A buffer that cannot be locked then
// is a fatal inconsistency and ends the process.
//
// Returns 0; INT32_MIN when the attributes cannot be read (`info` is untouched) or the allocator
// left the flexible format unresolved; -2 when the format has no rule. In the last two cases all
// fields but `planes` and `allocTimeNs` have been written.
int queryStaticInfo(const native_handle* handle, MyStaticInfo& info);

}  // namespace NSCam::gralloc
