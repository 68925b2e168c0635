// What the mapper backends read out of plane layouts that make no sense.
#include "utils/gralloc/PlaneWalk.h"

#include <algorithm>

#include "fuzz/Fuzz.h"

using namespace zelkcam::fuzz;
using NSCam::gralloc::YcbcrWalk;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    const uintptr_t base = input.ConsumeIntegral<uintptr_t>();
    const std::vector<PlaneLayout> planes = anyPlanes(input);
    int pixel = -2, row = -2;
    NSCam::gralloc::tellPixelAndStride(planes, &pixel, &row);
    require(planes.empty() ? pixel == -2 && row == -2 : pixel >= -1 && row >= -1);
    NSCam::gralloc::tellPixelAndStride(planes, nullptr, nullptr);

    // The walk only computes with the address.
    YcbcrWalk walk(reinterpret_cast<void*>(base));
    if (std::ranges::all_of(planes, [&](const auto& plane) { return walk.add(plane); })) {
        const android_ycbcr ycbcr = walk.description();
        // Whoever reads chroma steps by it.
        require(ycbcr.chroma_step <= 2);
        require((ycbcr.cb == nullptr && ycbcr.cr == nullptr) || ycbcr.chroma_step != 0);
    }
    return 0;
}
