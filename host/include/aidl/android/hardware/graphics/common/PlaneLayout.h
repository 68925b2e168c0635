// How a plane of a buffer is laid out.
#pragma once

#include <aidl/android/hardware/graphics/common/PlaneLayoutComponent.h>

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class PlaneLayout {
  public:
    std::vector<PlaneLayoutComponent> components;
    // From the start of the allocation.
    int64_t offsetInBytes = 0L;
    // From a sample to the next; 0 when undefined or varying, negative from right to left.
    int64_t sampleIncrementInBits = 0L;
    // From a row to the next; 0 when undefined or varying, negative from bottom to top.
    int64_t strideInBytes = 0L;
    // Of the plane, after subsampling.
    int64_t widthInSamples = 0L;
    int64_t heightInSamples = 0L;
    // With padding, without metadata.
    int64_t totalSizeInBytes = 0L;
    // Positive powers of two, 1 for none.
    int64_t horizontalSubsampling = 0L;
    int64_t verticalSubsampling = 0L;

    ZELKCAM_AIDL_RECORD(PlaneLayout, components, offsetInBytes, sampleIncrementInBits,
                        strideInBytes, widthInSamples, heightInSamples, totalSizeInBytes,
                        horizontalSubsampling, verticalSubsampling)
};

}  // namespace aidl::android::hardware::graphics::common
