// The stable C mapper, version 5, its metadata encoding, and the loader of vendor libraries.
//
// The library uses: AIMapper and its function table, AIMapper_Error, AIMapper_loadIMapper, ARect,
// StandardMetadata<T> with its encode and decode, the AIDL plane-layout and HDR records,
// android::gralloc4::isStandardPlaneLayoutComponentType and android_load_sphal_library.
#pragma once

#include <stddef.h>  // IMapper.h needs size_t and max_align_t and does not bring them everywhere

#include <android/hardware/graphics/mapper/IMapper.h>
#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>
#include <gralloctypes/Gralloc4.h>
#include <vndksupport/linker.h>
