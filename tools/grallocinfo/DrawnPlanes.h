// A device's planes in the form in which pictures are drawn.
#pragma once

#include <cstdint>
#include <vector>

#include "utils/gralloc/IGrallocInfoProvider.h"

namespace grallocinfo {

// One plane as a device tells it.
struct ToldPlane {
    int64_t start = 0;
    int64_t row = 0;
    int64_t firstComponent = 0;  // published PlaneLayoutComponentType; 0 where it tells of none
};

struct DrawnPlanes {
    zcam::GrallocStaticInfo layout;
    std::vector<uint64_t> starts;  // of the layout's planes
};

// Chroma that interleaves becomes one plane, and planar chroma is put into the order that the
// format's name has; a plane reaches to the end of the buffer, of `size` bytes. `layout` names the
// format and the picture's size.
DrawnPlanes drawnPlanes(const zcam::GrallocStaticInfo& layout, const std::vector<ToldPlane>& told,
                        uint64_t size);

}  // namespace grallocinfo
