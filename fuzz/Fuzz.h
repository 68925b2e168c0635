// What the targets share.
#pragma once

#include <cstdlib>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "platform/mapper.h"

namespace zelkcam::fuzz {

using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::PlaneLayoutComponent;
using aidl::android::hardware::graphics::common::StandardMetadataType;

// Ends the run: the input broke a promise.
inline void require(bool promise) {
    if (!promise) {
        abort();
    }
}

// Numbers as hostile mappers like them: anything, often near what is expected.
inline int64_t anyNumber(FuzzedDataProvider& input) {
    constexpr int64_t kUsual[] = {0, 1, 8, 16, 24, 64, -1, -8, INT32_MAX, INT64_MAX, INT64_MIN};
    return input.ConsumeBool() ? input.PickValueInArray(kUsual) : input.ConsumeIntegral<int64_t>();
}

inline PlaneLayoutComponent anyComponent(FuzzedDataProvider& input) {
    constexpr char kName[] = "android.hardware.graphics.common.PlaneLayoutComponentType";
    PlaneLayoutComponent component;
    component.type.name = input.ConsumeProbability<float>() < 0.9f
                                  ? kName
                                  : input.ConsumeRandomLengthString(sizeof(kName) + 4);
    component.type.value =
            input.ConsumeBool() ? 1 << input.ConsumeIntegralInRange(0, 3) : anyNumber(input);
    component.offsetInBits = anyNumber(input);
    component.sizeInBits = anyNumber(input);
    return component;
}

inline PlaneLayout anyPlane(FuzzedDataProvider& input) {
    PlaneLayout plane;
    for (int left = input.ConsumeIntegralInRange(0, 4); left > 0; --left) {
        plane.components.push_back(anyComponent(input));
    }
    for (int64_t* const field :
         {&plane.offsetInBytes, &plane.sampleIncrementInBits, &plane.strideInBytes,
          &plane.widthInSamples, &plane.heightInSamples, &plane.totalSizeInBytes,
          &plane.horizontalSubsampling, &plane.verticalSubsampling}) {
        *field = anyNumber(input);
    }
    return plane;
}

inline std::vector<PlaneLayout> anyPlanes(FuzzedDataProvider& input) {
    std::vector<PlaneLayout> planes(input.ConsumeIntegralInRange<size_t>(0, 4));
    for (PlaneLayout& plane : planes) {
        plane = anyPlane(input);
    }
    return planes;
}

}  // namespace zelkcam::fuzz
