// Counts heap allocations. The program's own malloc takes the place of the C library's in every
// loaded object and passes each call on.
#pragma once

#include <cstdint>

namespace zelkcam::bench {

// The allocations of the calling thread so far; an enlarged block counts again.
uint64_t allocationsSoFar();

}  // namespace zelkcam::bench
