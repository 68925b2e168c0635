#include "tools/grallocinfo/DrawnPlanes.h"

#include <algorithm>

#include "platform/utils.h"

namespace grallocinfo {

namespace {

constexpr int64_t kCb = 2;
constexpr int64_t kCr = 4;

// The one that begins with the component, or the one that is expected there.
const ToldPlane& planeWith(const std::vector<ToldPlane>& told, int64_t component,
                           size_t otherwise) {
    const auto found = std::ranges::find(told, component, &ToldPlane::firstComponent);
    return found != told.end() ? *found : told[otherwise];
}

std::vector<ToldPlane> inOrder(int32_t format, const std::vector<ToldPlane>& told) {
    if (told.size() != 3) {
        return told;
    }
    if (format == HAL_PIXEL_FORMAT_YV12) {
        return {told[0], planeWith(told, kCr, 1), planeWith(told, kCb, 2)};
    }
    return {told[0], told[1].start < told[2].start ? told[1] : told[2]};
}

}  // namespace

DrawnPlanes drawnPlanes(const zcam::GrallocStaticInfo& layout, const std::vector<ToldPlane>& told,
                        uint64_t size) {
    DrawnPlanes drawn{layout, {}};
    drawn.layout.planes.clear();
    for (const ToldPlane& plane : inOrder(layout.format, told)) {
        const auto start = static_cast<uint64_t>(std::max<int64_t>(plane.start, 0));
        drawn.starts.push_back(start);
        drawn.layout.planes.push_back(
                {.sizeInBytes = size - std::min(size, start),
                 .rowStrideInBytes = static_cast<uint64_t>(std::max<int64_t>(plane.row, 0))});
    }
    return drawn;
}

}  // namespace grallocinfo
