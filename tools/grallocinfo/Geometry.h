// Where in a buffer the picture lies, and where there is only padding.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "utils/gralloc/IGrallocInfoProvider.h"

namespace grallocinfo {

// In no published header.
inline constexpr int32_t kNv12 = 0x1000;

// One plane of a layout, in bytes and rows. A row holds `pictureRowBytes` of the picture and then
// stride padding; behind the picture's rows come rows of vertical padding, and behind the last
// whole row `tailBytes` that make no row.
struct PlaneGeometry {
    std::string components;  // "Y", "CrCb", "RGBA"; empty for a format that is not known
    uint64_t offset = 0;     // from the start of the buffer
    uint64_t size = 0;
    uint64_t rowStride = 0;  // at least 1
    uint64_t rows = 0;       // whole rows in `size`
    uint64_t tailBytes = 0;
    // The picture's part of the rows; all of them where a vendor keeps the inside to itself.
    uint64_t pictureRowBytes = 0;
    uint64_t pictureRows = 0;

    uint64_t stridePadding() const { return rowStride - pictureRowBytes; }
    uint64_t verticalPadding() const { return rows - pictureRows; }
};

struct BufferGeometry {
    std::vector<PlaneGeometry> planes;
    uint64_t planesEnd = 0;  // the first byte behind all planes
    // What the buffer really occupies, when that was measured: planes and a tail, if any.
    std::optional<uint64_t> allocationSize;
    // Whether the format's picture part is known, so that padding can be told from picture.
    bool pictureKnown = false;

    uint64_t tail() const;
    uint64_t pictureBytes() const;
    uint64_t totalBytes() const { return allocationSize.value_or(planesEnd); }
};

BufferGeometry geometryOf(const zcam::GrallocStaticInfo& layout,
                          std::optional<uint64_t> allocationSize = std::nullopt);

}  // namespace grallocinfo
