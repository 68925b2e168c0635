// Plane layouts that both mapper backends must read alike, and what they must make of them.
#pragma once

#include <string>
#include <vector>

#include "platform/utils.h"
#include "tests/support/ScriptedGralloc.h"

namespace zelkcam::test {

struct PixelAndStrideCase {
    std::vector<PlaneLayout> planes;
    int pixel, stride;
};
const std::vector<PixelAndStrideCase>& pixelAndStrideCases();

// `description` as ycbcrText says it; a layout that android_ycbcr cannot say has none.
struct YcbcrCase {
    const char* name;
    std::vector<PlaneLayout> planes;
    std::string description = {};
};
const std::vector<YcbcrCase>& describableLayouts();
const std::vector<YcbcrCase>& indescribableLayouts();

// "y cb cr ystride cstride step", the addresses from the start of the buffer, "-" for null.
std::string ycbcrText(const android_ycbcr& ycbcr);

}  // namespace zelkcam::test
