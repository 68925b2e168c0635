// The device's mapper, as the extension reaches it.
#pragma once

#include "platform/mapper.h"

namespace zelkcam::plexa {

// The version-5 functions of the mapper library that the allocator service names; null while there
// is no service, no library or no mapper in it. Found once and kept for the life of the process; a
// search that failed is made again by the next call, because a service may still be starting. Safe
// from any thread.
const AIMapperV5* mapperFunctions();

}  // namespace zelkcam::plexa
