// The HIDL 4.0 graphics mapper and allocator, and the gralloc 4 metadata helpers.
//
// The library uses: both interfaces with getService and their methods, hidl_vec, hidl_handle,
// Return<T>, common V1_2 PixelFormat and BufferUsage, android::gralloc4::decodePlaneLayouts,
// isStandardPlaneLayoutComponentType and MetadataType_PlaneLayouts.
#pragma once

#include <android/hardware/graphics/allocator/4.0/IAllocator.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>
#include <gralloctypes/Gralloc4.h>
