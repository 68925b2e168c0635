// The AIDL graphics allocator service, version 2, and the binder calls that find it.
//
// The library uses: IAllocator (descriptor, fromBinder, allocate2, getIMapperLibrarySuffix),
// AllocationResult, BufferDescriptorInfo, ndk::SpAIBinder, ndk::ScopedAStatus,
// AServiceManager_checkService and android::makeFromAidl.
#pragma once

#include <aidl/android/hardware/graphics/allocator/IAllocator.h>
#include <aidlcommonsupport/NativeHandle.h>
#include <android/binder_manager.h>
