// The device that the host stands in for. Everything that differs between devices is decided here
// and nowhere else: what is served, which format a request becomes, how its planes lie.
#pragma once

#include <cstdint>

#include <android/hardware/graphics/mapper/IMapper.h>

#include "host/gralloc/Description.h"
#include "host/gralloc/Layout.h"

namespace zelkcam::host::gralloc {

// Clients read the allocation size as a signed 32-bit number, so a larger buffer could not be
// described.
inline constexpr uint64_t kMaxAllocationSize = INT32_MAX;

// The published tests reserve 1,000 pages, which are up to 64 KiB each. What nobody touches takes
// no memory.
inline constexpr uint64_t kMaxReservedSize = 64 << 20;

// At most so many buffers in one call; a queue has 64.
inline constexpr int64_t kMaxBufferCount = 1024;

// Fills `layout` for a description that can be allocated. BAD_VALUE for one that no device could
// serve (a zero dimension or layer count, a name without end), UNSUPPORTED for one that this device
// does not: more layers than one, an unknown format, usage bits that must be zero, a size out of
// bounds. The answer depends on the description alone, so "supported" holds for good and importers
// can check what a buffer claims about itself.
AIMapper_Error decide(const Description& description, Layout* layout);

}  // namespace zelkcam::host::gralloc
