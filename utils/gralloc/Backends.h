// The facade's two backends, and what its operations answer while they are not there.
#pragma once

#include <memory>

#include "platform/mapper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace NSCam::gralloc {

using GrallocAllocatorAidlV2::AllocatorAidl;
using GrallocMapperAidlV2::MapperV5;

// Filled once by the helper's start-up and never changed afterwards; empty when it failed, so every
// use has the form `gMapper ? gMapper->operation(...) : kNoBackend`. At process exit the allocator
// goes first, because it refers to the mapper.
extern std::unique_ptr<const MapperV5> gMapper;
extern std::unique_ptr<const AllocatorAidl> gAllocator;

// A helper whose start-up failed stays usable: an operation without its backend fails as a failed
// platform call does.
inline constexpr int32_t kNoBackend = AIMAPPER_ERROR_NO_RESOURCES;

// Ends a CPU lock: unlocks, waits until the buffer's writes are complete, and closes the fence.
//
// Contract: the fence is not tested first. A backend that answers -1 leads to a wait and a close
// that fail, and neither failure is looked at.
void unlockAndWait(const native_handle* handle);

}  // namespace NSCam::gralloc
