// The library's cache of layouts, filled through the public query.
#pragma once

#include <cstddef>

#include "platform/utils.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::bench {

// The requests that the cache is filled with, in the order of the cache: a BLOB of `index` + 1
// bytes.
inline zcam::GrallocRequest numberedRequest(size_t index) {
    return {.usage = 0,
            .format = HAL_PIXEL_FORMAT_BLOB,
            .widthInPixels = static_cast<int32_t>(index) + 1,
            .heightInPixels = 1};
}

// Makes the cache hold exactly the first `entries` numbered requests; 0 empties it, for a benchmark
// that puts requests of its own there.
void fillCache(size_t entries);

}  // namespace zelkcam::bench
