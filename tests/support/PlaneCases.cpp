#include "tests/support/PlaneCases.h"

#include <cstdint>

namespace zelkcam::test {

namespace {

using enum PlaneLayoutComponentType;

PlaneLayout one(int64_t increment, int64_t stride, PlaneLayoutComponentType type,
                int64_t offsetInBits = 0, int64_t sizeInBits = 8) {
    return plane(0, increment, stride, {component(type, offsetInBits, sizeInBits)});
}

PlaneLayout bare(int64_t increment, int64_t stride) {
    return plane(48, increment, stride, {});
}

}  // namespace

const std::vector<PixelAndStrideCase>& pixelAndStrideCases() {
    constexpr int64_t kFar = int64_t{1} << 32;
    static const auto& cases = *new std::vector<PixelAndStrideCase>{
            {{bare(8, 4096), bare(16, 2048)}, -1, -1},
            {{bare(24, 512), bare(24, 512), bare(24, 512)}, 3, 512},
            {{bare(12, 7)}, -1, 7},
            {{bare(0, 0)}, 0, 0},
            {{bare(-8, -512)}, -1, -1},
            // Once mixed, always mixed.
            {{bare(8, 4), bare(16, 2), bare(8, 4)}, -1, -1},
            {{bare(8, 4), bare(-1, -1), bare(8, 4)}, -1, -1},
            // The first plane is cut to 32 bits, and then differs from itself.
            {{bare(kFar + 8, kFar + 64)}, -1, -1},
            {{bare(INT32_MAX - 7, INT32_MAX)}, (INT32_MAX - 7) / 8, INT32_MAX},
    };
    return cases;
}

const std::vector<YcbcrCase>& describableLayouts() {
    const PlaneLayoutComponent foreign = {{"vendor.Type", 1}, 3, 99};
    static const auto& cases = *new std::vector<YcbcrCase>{
            {"NV12",
             {one(8, 1920, Y), plane(4096, 16, 2048, {component(CB, 0), component(CR, 8)})},
             "0 4096 4097 1920 2048 2"},
            {"three planes",
             {plane(64, 8, 32, {component(Y, 0)}), plane(200, 8, 16, {component(CR, 0)}),
              plane(300, 8, 16, {component(CB, 0)})},
             "64 300 200 32 16 1"},
            {"no planes", {}, "- - - 0 0 0"},
            {"several without components", {bare(8, 64), bare(8, 64)}, "- - - 0 0 0"},
            {"colours", {plane(0, 32, 64, {component(R, 0), component(A, 24)})}, "- - - 0 0 0"},
            // The published test goes by the given name's length: an empty one is standard.
            {"a type without a name", {plane(0, 8, 64, {{{"", 1}, 8, 8}})}, "1 - - 64 0 0"},
            {"a type that is not standard",
             {plane(0, 8, 64, {foreign, component(Y, 8)})},
             "1 - - 64 0 0"},
            {"chroma of any size", {plane(8, 16, 64, {component(CB, 16, 99)})}, "- 10 - 0 64 2"},
    };
    return cases;
}

const std::vector<YcbcrCase>& indescribableLayouts() {
    static const auto& cases = *new std::vector<YcbcrCase>{
            {"a component between bytes", {one(8, 8, Y, 4)}},
            {"a negative one between bytes", {one(8, 8, Y, -1)}},
            {"of any standard type", {one(32, 8, A, 4)}},
            {"luma twice", {one(8, 8, Y), one(8, 8, Y)}},
            {"luma of 10 bits", {one(8, 8, Y, 0, 10)}},
            {"luma that is not packed", {one(16, 8, Y)}},
            {"chroma step 24", {one(24, 8, CB)}},
            {"chroma step 12", {one(12, 8, CR)}},
            {"chroma step 0", {one(0, 8, CR)}},
            {"chroma step -8", {one(-8, 8, CB)}},
            {"chroma of two strides", {one(8, 64, CB), one(8, 32, CR)}},
            {"chroma of two steps", {one(8, 64, CB), one(16, 64, CR)}},
            {"Cb twice", {one(8, 64, CB), one(8, 64, CB)}},
            {"Cr twice", {one(8, 64, CR), one(8, 64, CR)}},
    };
    return cases;
}

std::string ycbcrText(const android_ycbcr& ycbcr) {
    std::string text;
    for (const void* const address : {ycbcr.y, ycbcr.cb, ycbcr.cr}) {
        text += address == nullptr
                        ? "- "
                        : std::to_string(static_cast<const char*>(address) - kMapped) + " ";
    }
    return text + std::to_string(ycbcr.ystride) + " " + std::to_string(ycbcr.cstride) + " " +
           std::to_string(ycbcr.chroma_step);
}

}  // namespace zelkcam::test
