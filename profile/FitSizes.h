// Sizes that no row explains: of blocks of pixels, and of buffers whose planes nobody tells.
#pragma once

#include <optional>

#include "profile/Fit.h"
#include "profile/Profile.h"

namespace zelkcam::profile {

// A size by blocks of pixels, with a header in front of a compressed payload or without.
struct BlockSize {
    Quantity alignedWidth, alignedHeight, header, size;
};

std::optional<BlockSize> fitBlocks(const Series& target, const Sizes& sizes);
// Likewise, with a header.
std::optional<BlockSize> fitHeader(const Series& target, const Sizes& sizes);

// The size of a buffer whose planes the device keeps to itself: that of one plane of whole rows,
// and more for chroma.
struct HiddenSize {
    Quantity alignedHeight, size;
    PlaneRule plane;
};

std::optional<HiddenSize> fitHidden(const Series& target, const Sizes& sizes);

}  // namespace zelkcam::profile
