// How a device behaves apart from its layouts.
#pragma once

#include <cstddef>

#include "tools/grallocinfo/DeviceSession.h"

namespace grallocinfo {

size_t traitProbeCount();

// Asks the device one of the questions and notes the answer in `traits`. Some devices do not
// survive some of them.
void probeTrait(size_t number, DeviceSession& session, zelkcam::profile::Traits& traits);

}  // namespace grallocinfo
