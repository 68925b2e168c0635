// Counts heap allocations. The program's own malloc takes the place of the C library's in every
// loaded object and passes each call on.
#pragma once

#include <cstdint>

namespace zelkcam::bench {

// What the calling thread has asked of the heap so far; an enlarged block counts once more.
uint64_t allocationsSoFar();

}  // namespace zelkcam::bench
