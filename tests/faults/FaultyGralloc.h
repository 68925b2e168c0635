// The host platform's own allocators and mappers behind doors: registered in their places, they
// pass every call on unless it is to fail.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/allocator.h"
#include "platform/hidl.h"
#include "platform/mapper.h"

namespace zelkcam::faults {

using AidlAllocator = aidl::android::hardware::graphics::allocator::IAllocator;

// Puts the doors into place, for the life of the process. Afterwards every unlock gives a release
// fence, which the host platform itself has no need of.
void installFaultyGralloc();

// The platform behind the doors.
const std::shared_ptr<AidlAllocator>& realAllocator();
const AIMapperV5& realMapper();

// A signalled fence, the caller's.
int newFence();

}  // namespace zelkcam::faults
