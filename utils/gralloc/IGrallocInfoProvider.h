// What a graphics buffer of a given usage, format and size looks like in memory.
#pragma once

#include <cstdint>
#include <vector>

#include "utils/gralloc/Export.h"

namespace zcam {

// What a client asks a layout for.
struct GrallocRequest {
    uint32_t usage = 0;         // gralloc usage bits; matter for formats 0x22 and 0x23 only
    int32_t format = 0;         // HAL pixel format, or a vendor code
    int32_t widthInPixels = 0;  // of a BLOB: the bytes of a row
    int32_t heightInPixels = 0;
};

// The layout answer.
struct GrallocStaticInfo {
    struct Plane {
        uint64_t sizeInBytes = 0;       // padding included
        uint64_t rowStrideInBytes = 0;  // between the starts of two rows
    };

    int32_t format = 0;  // the concrete format: what the allocator resolved 0x22 or 0x23 to
    int32_t widthInPixels = 0;
    int32_t heightInPixels = 0;
    std::vector<Plane> planes;  // in plane order
};

// Clients compiled against this interface call through its virtual slots: their order, here and in
// NSCam::IGrallocHelper, which continues the same table, is binary interface.
class IGrallocInfoProvider {
  public:
    // The process-wide provider, the same object as NSCam::IGrallocHelper::singleton(). Built by
    // the first call from any thread, destroyed at process exit; never null, also when the
    // allocator service is missing. Not to be deleted.
    ZELKCAM_EXPORT static IGrallocInfoProvider* getInstance();

    virtual ~IGrallocInfoProvider() = default;  // slots 0 and 1

    // Answers the layout that a buffer of `*pRequest` gets (slot 2). The first request of a kind
    // allocates and frees a probe buffer; later ones are served from the cache, unless
    // `forceRequery` makes it probe again. Buffers of a concrete format are taken to look alike
    // whatever their usage: their probe is allocated with usage 0.
    //
    // Returns 0; -22 for a null argument; -12 when the probe cannot be allocated; -2 when the
    // resolved format has no layout rule; INT32_MIN when the probe's attributes cannot be read or
    // the allocator left a flexible format unresolved. `*pStaticInfo` is written only on success.
    // Any thread; while a probe runs, all queries wait for it, also those that the cache answers.
    //
    // Contract: a width or height of 0 answers 0 with the layout of a 1x1 buffer, which is what the
    // allocator makes of it. Plane sizes do not add up to offsets in general: read those from a
    // buffer, by MapperV5's YCbCr lock or getPlaneLayouts.
    virtual int query(const GrallocRequest* pRequest, GrallocStaticInfo* pStaticInfo,
                      bool forceRequery = false) const = 0;
};

}  // namespace zcam
