#include <algorithm>

#include "profile/FitSizes.h"
#include "profile/FitTerms.h"

namespace zelkcam::profile {
namespace {

struct Block {
    int64_t width;
    int64_t height;
};
// Blocks that tiling works on.
constexpr Block kBlocks[] = {{1, 1},   {16, 16},   {32, 8},  {8, 8},   {4, 4},    {16, 4},
                             {32, 32}, {64, 4},    {64, 16}, {64, 64}, {128, 32}, {16, 1},
                             {32, 1},  {64, 1},    {1, 2},   {1, 16},  {1, 32},   {64, 32},
                             {128, 1}, {128, 128}, {256, 1}, {256, 16}};
// Sides of the blocks that compression works on, the likelier first.
constexpr int64_t kSides[] = {16, 32, 8, 64, 4, 128, 256};
constexpr int64_t kHeaderBytes[] = {16, 32, 8, 4, 1, 2, 64};
// Pixels that a header's bytes are for.
constexpr int64_t kHeaderPixels[] = {256, 64, 16, 1024, 4096};
constexpr int64_t kHeaderAlignments[] = {1, 4096, 1024, 64, 128, 256, 512, 2048, 65536};
// Beyond what any header or size is rounded to.
constexpr int64_t kMostPadding = (1 << 20) + (1 << 17);

Series areaOf(const Sizes& sizes, const Block& block) {
    Series series;
    series.reserve(sizes.width.size());
    for (size_t i = 0; i < sizes.width.size(); ++i) {
        series.push_back(alignUp(sizes.width[i], block.width) *
                         alignUp(sizes.height[i], block.height));
    }
    return series;
}

BlockSize withBlock(const Block& block, const Quantity& size) {
    BlockSize found;
    if (block.width != 1) {
        found.alignedWidth = oneTerm({.base = Base::kWidth, .align = block.width});
    }
    if (block.height != 1) {
        found.alignedHeight = oneTerm({.base = Base::kHeight, .align = block.height});
    }
    found.size = size;
    return found;
}

// Looks for a header in front of a payload of one block size.
class Headers {
  public:
    Headers(const Series& target, const Sizes& sizes, const Block& block)
        : mTarget(target),
          mSizes(sizes),
          mBlock(block),
          mPixels(areaOf(sizes, block)),
          mDivisor(divisorOf(target)),
          mLargest(static_cast<size_t>(std::max_element(mPixels.begin(), mPixels.end()) -
                                       mPixels.begin())) {}

    std::optional<BlockSize> find() const;

  private:
    bool possible(int64_t payload, int64_t header) const {
        const int64_t rest = mTarget[mLargest] - payload - header;
        return rest >= 0 && rest < kMostPadding;
    }
    std::optional<BlockSize> findWith(const Option& payload, const Option& header) const;
    std::optional<Quantity> sizeWith(const Option& payload, const Option& header,
                                     int64_t alignment) const;

    const Series& mTarget;
    const Sizes& mSizes;
    const Block mBlock;
    const Series mPixels;
    const int64_t mDivisor;
    const size_t mLargest;
};

std::optional<Quantity> Headers::sizeWith(const Option& payload, const Option& header,
                                          int64_t alignment) const {
    Option sum{payload.term, {}};
    sum.values.reserve(mTarget.size());
    int64_t most = 0;
    for (size_t i = 0; i < mTarget.size(); ++i) {
        sum.values.push_back(payload.values[i] + alignUp(header.values[i], alignment));
        const int64_t rest = mTarget[i] - sum.values.back();
        most = std::max(most, rest);
        if (rest < 0 || most >= mDivisor) {
            return std::nullopt;
        }
    }
    return fit(mTarget, {sum}, mSizes, Effort::kAligned);
}

std::optional<BlockSize> Headers::findWith(const Option& payload, const Option& header) const {
    for (const int64_t alignment : kHeaderAlignments) {
        if (const auto size = sizeWith(payload, header, alignment)) {
            BlockSize found = withBlock(mBlock, *size);
            Term term = header.term;
            term.align = alignment;
            found.header = oneTerm(term);
            return found;
        }
    }
    return std::nullopt;
}

std::optional<BlockSize> Headers::find() const {
    for (const Ratio& pixel : kBytesPerPixel) {
        const Option payload = scaled(mPixels, {.base = Base::kArea, .header = true}, pixel, true);
        for (const int64_t pixels : kHeaderPixels) {
            for (const int64_t bytes : kHeaderBytes) {
                const Ratio ratio = reduced(bytes, pixels);
                const int64_t header = mPixels[mLargest] * ratio.times / ratio.per;
                if (pixels > mBlock.width * mBlock.height ||
                    !possible(payload.values[mLargest], header)) {
                    continue;
                }
                if (auto found = findWith(payload,
                                          scaled(mPixels, {.base = Base::kArea}, ratio, true))) {
                    return found;
                }
            }
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<BlockSize> fitBlocks(const Series& target, const Sizes& sizes) {
    for (const Block& block : kBlocks) {
        const Series pixels = areaOf(sizes, block);
        std::vector<Option> options;
        options.reserve(std::size(kBytesPerPixel));
        for (const Ratio& ratio : kBytesPerPixel) {
            options.push_back(scaled(pixels, {.base = Base::kArea}, ratio, true));
        }
        if (const auto found = fit(target, options, sizes, Effort::kAligned)) {
            return withBlock(block, *found);
        }
    }
    return std::nullopt;
}

std::optional<BlockSize> fitHeader(const Series& target, const Sizes& sizes) {
    for (const int64_t width : kSides) {
        for (const int64_t height : kSides) {
            if (auto found = Headers(target, sizes, {width, height}).find()) {
                return found;
            }
        }
    }
    return std::nullopt;
}

}  // namespace zelkcam::profile
