#include "tools/grallocinfo/Geometry.h"

#include <algorithm>
#include <array>

#include "platform/utils.h"
#include "utils/gralloc/CodeTable.h"

namespace grallocinfo {

namespace {

// What a plane holds of each pixel: how many bits a sample has, all its components together, and
// how many pixels share a sample in each direction. 0 bits: the inside is the vendor's own.
struct SampleShape {
    std::string_view components;
    uint32_t bitsPerSample;
    uint32_t pixelsAcross = 1;
    uint32_t pixelsDown = 1;
};

struct FormatShape {
    int32_t code;
    std::array<SampleShape, 3> planes;
};

constexpr int32_t kCameraOpaque = 0x111;

constexpr std::array kShapes{
        FormatShape{HAL_PIXEL_FORMAT_RGBA_8888, {{{"RGBA", 32}}}},
        FormatShape{HAL_PIXEL_FORMAT_RGB_888, {{{"RGB", 24}}}},
        FormatShape{HAL_PIXEL_FORMAT_BGRA_8888, {{{"BGRA", 32}}}},
        FormatShape{HAL_PIXEL_FORMAT_YCrCb_420_SP, {{{"Y", 8}, {"CrCb", 16, 2, 2}}}},
        FormatShape{HAL_PIXEL_FORMAT_YCbCr_422_I, {{{"YCbYCr", 16}}}},
        FormatShape{HAL_PIXEL_FORMAT_RAW16, {{{"RAW", 16}}}},
        FormatShape{HAL_PIXEL_FORMAT_BLOB, {{{"bytes", 8}}}},
        FormatShape{HAL_PIXEL_FORMAT_IMPLEMENTATION_DEFINED, {{{"RAW", 10}}}},
        FormatShape{HAL_PIXEL_FORMAT_RAW_OPAQUE, {{{"opaque", 0}}}},
        FormatShape{HAL_PIXEL_FORMAT_RAW10, {{{"RAW", 10}}}},
        FormatShape{HAL_PIXEL_FORMAT_RAW12, {{{"RAW", 12}}}},
        FormatShape{HAL_PIXEL_FORMAT_YCBCR_P010, {{{"Y", 16}, {"CbCr", 32, 2, 2}}}},
        FormatShape{kCameraOpaque, {{{"RAW", 10}}}},
        FormatShape{kNv12, {{{"Y", 8}, {"CbCr", 16, 2, 2}}}},
        FormatShape{HAL_PIXEL_FORMAT_Y8, {{{"Y", 8}}}},
        FormatShape{HAL_PIXEL_FORMAT_YV12, {{{"Y", 8}, {"Cr", 8, 2, 2}, {"Cb", 8, 2, 2}}}},
};
static_assert(NSCam::gralloc::ascendingByCode(kShapes));

size_t planeCount(const FormatShape& shape) {
    return static_cast<size_t>(std::ranges::count_if(
            shape.planes, [](const SampleShape& plane) { return !plane.components.empty(); }));
}

// Without a shape every row counts as picture.
PlaneGeometry placed(const zcam::GrallocStaticInfo::Plane& plane, uint64_t offset) {
    PlaneGeometry geometry;
    geometry.offset = offset;
    geometry.size = plane.sizeInBytes;
    geometry.rowStride = std::max<uint64_t>(1, plane.rowStrideInBytes);
    geometry.rows = plane.sizeInBytes / geometry.rowStride;
    geometry.tailBytes = plane.sizeInBytes % geometry.rowStride;
    geometry.pictureRowBytes = geometry.rowStride;
    geometry.pictureRows = geometry.rows;
    return geometry;
}

void markPicture(PlaneGeometry& plane, const SampleShape& shape,
                 const zcam::GrallocStaticInfo& layout) {
    plane.components = shape.components;
    if (shape.bitsPerSample == 0) {
        return;
    }
    const uint64_t samples = static_cast<uint32_t>(layout.widthInPixels) / shape.pixelsAcross;
    const uint64_t rows = static_cast<uint32_t>(layout.heightInPixels) / shape.pixelsDown;
    plane.pictureRowBytes = std::min((samples * shape.bitsPerSample + 7) / 8, plane.rowStride);
    plane.pictureRows = std::min(rows, plane.rows);
}

}  // namespace

uint64_t BufferGeometry::tail() const {
    return totalBytes() > planesEnd ? totalBytes() - planesEnd : 0;
}

uint64_t BufferGeometry::pictureBytes() const {
    uint64_t bytes = 0;
    for (const PlaneGeometry& plane : planes) {
        bytes += plane.pictureRowBytes * plane.pictureRows;
    }
    return bytes;
}

BufferGeometry geometryOf(const zcam::GrallocStaticInfo& layout,
                          std::optional<uint64_t> allocationSize) {
    BufferGeometry buffer;
    buffer.allocationSize = allocationSize;
    const FormatShape* const shape = NSCam::gralloc::findCode<kShapes>(layout.format);
    const bool isKnown = shape && planeCount(*shape) == layout.planes.size();
    buffer.pictureKnown = isKnown && shape->planes[0].bitsPerSample != 0;
    for (size_t i = 0; i < layout.planes.size(); ++i) {
        buffer.planes.push_back(placed(layout.planes[i], buffer.planesEnd));
        if (isKnown) {
            markPicture(buffer.planes.back(), shape->planes[i], layout);
        }
        buffer.planesEnd += layout.planes[i].sizeInBytes;
    }
    return buffer;
}

}  // namespace grallocinfo
