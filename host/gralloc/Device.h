// The device that the host stands in for: the device profile in force. Everything that differs
// between devices is decided here and nowhere else: what is served, which format a request becomes,
// how its planes lie, how the mappers behave.
#pragma once

#include <cstdint>

#include <android/hardware/graphics/mapper/IMapper.h>

#include "host/gralloc/Description.h"
#include "host/gralloc/Layout.h"
#include "profile/Profile.h"

namespace zelkcam::host::gralloc {

// At most so many buffers in one call; a queue has 64.
inline constexpr int64_t kMaxBufferCount = 1024;

// Whether there is a device: false when ZELKCAM_HOST_PROFILE names a profile that is not usable,
// which the first call tells on standard error. Without that variable the device is `default`.
bool haveDevice();

// How the device behaves; of a device that refuses everything where there is none.
const profile::Traits& deviceTraits();

// The same for all processes whose device is the same.
uint64_t deviceFingerprint();

// Fills `layout` for a description that can be allocated. BAD_VALUE for one that no device could
// serve (a zero dimension or layer count, a name without end), else what the device refuses with:
// BAD_DESCRIPTOR, NO_RESOURCES or UNSUPPORTED. The answer depends on the description alone, so
// "supported" holds for good and importers can check what a buffer claims about itself.
AIMapper_Error decide(const Description& description, Layout* layout);

// The service-specific code that the AIDL allocator of this device refuses the description with;
// profile::kOtherException for a refusal without one.
int32_t refusalOf(const Description& description);

// Tells the log, once for each request, that its layout is an estimate: the profile was recorded,
// and neither this request nor others that tell what becomes of it.
void warnOfGuess(const Description& description);

}  // namespace zelkcam::host::gralloc
