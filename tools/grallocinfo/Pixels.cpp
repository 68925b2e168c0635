#include "tools/grallocinfo/Pixels.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/utils.h"
#include "utils/gralloc/CodeTable.h"

namespace grallocinfo {

namespace {

enum class Model : uint8_t { kRgb, kYCbCr, kGrey };

// Where a component's samples lie: in which plane, from which byte, how many bytes apart.
struct Component {
    uint8_t plane;
    uint8_t offset;
    uint8_t step;
};

// Where samples lie; red, green and blue, or Y, Cb and Cr. Chroma is shared by `across` x `down`
// pixels.
struct SampleRule {
    int32_t code;
    Model model;
    uint16_t sampleBits;  // those of a sample that count; samples above 0xFF have two bytes
    uint8_t across;
    uint8_t down;
    std::array<Component, 3> components;
    int opacityOffset = -1;
};

constexpr int32_t kNv12 = 0x1000;
constexpr uint8_t kNeutralChroma = 128;

constexpr std::array kRules{
        SampleRule{HAL_PIXEL_FORMAT_RGBA_8888,
                   Model::kRgb,
                   0xFF,
                   1,
                   1,
                   {{{0, 0, 4}, {0, 1, 4}, {0, 2, 4}}},
                   3},
        SampleRule{HAL_PIXEL_FORMAT_RGB_888,
                   Model::kRgb,
                   0xFF,
                   1,
                   1,
                   {{{0, 0, 3}, {0, 1, 3}, {0, 2, 3}}}},
        SampleRule{HAL_PIXEL_FORMAT_BGRA_8888,
                   Model::kRgb,
                   0xFF,
                   1,
                   1,
                   {{{0, 2, 4}, {0, 1, 4}, {0, 0, 4}}},
                   3},
        SampleRule{HAL_PIXEL_FORMAT_YCrCb_420_SP,
                   Model::kYCbCr,
                   0xFF,
                   2,
                   2,
                   {{{0, 0, 1}, {1, 1, 2}, {1, 0, 2}}}},
        SampleRule{HAL_PIXEL_FORMAT_YCbCr_422_I,
                   Model::kYCbCr,
                   0xFF,
                   2,
                   1,
                   {{{0, 0, 2}, {0, 1, 4}, {0, 3, 4}}}},
        SampleRule{HAL_PIXEL_FORMAT_RAW16, Model::kGrey, 0xFFFF, 1, 1, {{{0, 0, 2}}}},
        SampleRule{HAL_PIXEL_FORMAT_YCBCR_P010,
                   Model::kYCbCr,
                   0xFFC0,
                   2,
                   2,
                   {{{0, 0, 2}, {1, 0, 4}, {1, 2, 4}}}},
        SampleRule{kNv12, Model::kYCbCr, 0xFF, 2, 2, {{{0, 0, 1}, {1, 0, 2}, {1, 1, 2}}}},
        SampleRule{HAL_PIXEL_FORMAT_Y8, Model::kGrey, 0xFF, 1, 1, {{{0, 0, 1}}}},
        SampleRule{HAL_PIXEL_FORMAT_YV12,
                   Model::kYCbCr,
                   0xFF,
                   2,
                   2,
                   {{{0, 0, 1}, {2, 0, 1}, {1, 0, 1}}}},
};
static_assert(NSCam::gralloc::ascendingByCode(kRules));

// How many samples a component has in each direction. What is left of an odd size has no chroma of
// its own.
struct Extent {
    uint32_t width;
    uint32_t height;
};

// One component of a locked buffer.
class Samples {
  public:
    Samples(const LockedBuffer& buffer, const SampleRule& rule, size_t index);

    Extent extent() const { return mExtent; }
    bool isInside(const LockedBuffer& buffer) const;
    // Beyond the last sample the last one goes on; without any, neutral.
    uint8_t at(uint32_t x, uint32_t y) const;
    void put(uint32_t x, uint32_t y, uint8_t value) const;

  private:
    uint8_t* address(uint32_t x, uint32_t y) const {
        return mData + mOffset + y * mStride + mComponent.offset + uint64_t{x} * mComponent.step;
    }

    const Component mComponent;
    const uint16_t mSampleBits;
    Extent mExtent;
    uint8_t* mData;
    uint64_t mOffset = 0;
    uint64_t mStride = 0;
    uint64_t mPlaneSize = 0;
};

Samples::Samples(const LockedBuffer& buffer, const SampleRule& rule, size_t index)
    : mComponent(rule.components[index]), mSampleBits(rule.sampleBits), mData(buffer.data) {
    const bool isShared = index > 0;
    mExtent = {static_cast<uint32_t>(buffer.layout.widthInPixels) / (isShared ? rule.across : 1),
               static_cast<uint32_t>(buffer.layout.heightInPixels) / (isShared ? rule.down : 1)};
    const auto& planes = buffer.layout.planes;
    for (size_t i = 0; i < mComponent.plane && i < planes.size(); ++i) {
        mOffset += planes[i].sizeInBytes;
    }
    if (mComponent.plane >= planes.size()) {
        return;
    }
    mStride = planes[mComponent.plane].rowStrideInBytes;
    mPlaneSize = planes[mComponent.plane].sizeInBytes;
}

// All numbers but the extent come from elsewhere: no sum or product may run over.
bool Samples::isInside(const LockedBuffer& buffer) const {
    if (mExtent.width == 0 || mExtent.height == 0) {
        return true;
    }
    if (mOffset > buffer.size || mPlaneSize > buffer.size - mOffset || mStride > buffer.size) {
        return false;
    }
    const uint64_t rowBytes = uint64_t{mComponent.offset} +
                              uint64_t{mExtent.width - 1} * mComponent.step +
                              (mSampleBits > 0xFF ? 2 : 1);
    return rowBytes <= mStride && uint64_t{mExtent.height - 1} * mStride + rowBytes <= mPlaneSize;
}

uint8_t Samples::at(uint32_t x, uint32_t y) const {
    if (mExtent.width == 0 || mExtent.height == 0) {
        return kNeutralChroma;
    }
    const uint8_t* const sample =
            address(std::min(x, mExtent.width - 1), std::min(y, mExtent.height - 1));
    return mSampleBits > 0xFF ? sample[1] : sample[0];
}

void Samples::put(uint32_t x, uint32_t y, uint8_t value) const {
    uint8_t* const sample = address(x, y);
    const uint16_t bits = static_cast<uint16_t>(value * 0x101) & mSampleBits;
    sample[0] = static_cast<uint8_t>(bits);
    if (mSampleBits > 0xFF) {
        sample[1] = static_cast<uint8_t>(bits >> 8);
    }
}

uint8_t clamped(double value) {
    return static_cast<uint8_t>(std::clamp<long>(std::lround(value), 0, 255));
}

Rgb rgbOf(uint8_t y, uint8_t cb, uint8_t cr) {
    const double blue = cb - 128.0;
    const double red = cr - 128.0;
    return {clamped(y + 1.402 * red), clamped(y - 0.344136 * blue - 0.714136 * red),
            clamped(y + 1.772 * blue)};
}

// Y, Cb and Cr.
std::array<uint8_t, 3> yCbCrOf(const Rgb& colour) {
    const double r = colour.red;
    const double g = colour.green;
    const double b = colour.blue;
    return {clamped(0.299 * r + 0.587 * g + 0.114 * b),
            clamped(128 - 0.168736 * r - 0.331264 * g + 0.5 * b),
            clamped(128 + 0.5 * r - 0.418688 * g - 0.081312 * b)};
}

// The mean colour of the pixels that share one chroma sample.
Rgb meanOf(const Picture& picture, uint32_t left, uint32_t top, const SampleRule& rule) {
    uint32_t red = 0, green = 0, blue = 0, count = 0;
    for (uint32_t y = top; y < top + rule.down && y < picture.height(); ++y) {
        for (uint32_t x = left; x < left + rule.across && x < picture.width(); ++x, ++count) {
            red += picture.at(x, y).red;
            green += picture.at(x, y).green;
            blue += picture.at(x, y).blue;
        }
    }
    return {clamped(double(red) / count), clamped(double(green) / count),
            clamped(double(blue) / count)};
}

class PixelAccess {
  public:
    PixelAccess(const LockedBuffer& buffer, const SampleRule& rule)
        : mBuffer(buffer),
          mRule(rule),
          mFirst(buffer, rule, 0),
          mSecond(buffer, rule, 1),
          mThird(buffer, rule, 2) {}

    bool isInside() const {
        return mFirst.isInside(mBuffer) &&
               (mRule.model == Model::kGrey ||
                (mSecond.isInside(mBuffer) && mThird.isInside(mBuffer)));
    }
    Rgb at(uint32_t x, uint32_t y) const;
    void write(const Picture& picture) const;

  private:
    void putPixel(uint32_t x, uint32_t y, const Rgb& colour) const;
    void putChroma(const Picture& picture) const;

    const LockedBuffer& mBuffer;
    const SampleRule& mRule;
    const Samples mFirst;
    const Samples mSecond;
    const Samples mThird;
};

Rgb PixelAccess::at(uint32_t x, uint32_t y) const {
    const uint8_t first = mFirst.at(x, y);
    if (mRule.model == Model::kGrey) {
        return {first, first, first};
    }
    const uint8_t second = mSecond.at(x / mRule.across, y / mRule.down);
    const uint8_t third = mThird.at(x / mRule.across, y / mRule.down);
    return mRule.model == Model::kRgb ? Rgb{first, second, third} : rgbOf(first, second, third);
}

void PixelAccess::putPixel(uint32_t x, uint32_t y, const Rgb& colour) const {
    if (mRule.model != Model::kRgb) {
        return mFirst.put(x, y, yCbCrOf(colour)[0]);
    }
    mFirst.put(x, y, colour.red);
    mSecond.put(x, y, colour.green);
    mThird.put(x, y, colour.blue);
    if (mRule.opacityOffset >= 0) {
        mBuffer.data[y * mBuffer.layout.planes[0].rowStrideInBytes +
                     uint64_t{x} * mRule.components[0].step +
                     static_cast<uint64_t>(mRule.opacityOffset)] = 0xFF;
    }
}

void PixelAccess::putChroma(const Picture& picture) const {
    const Extent extent = mSecond.extent();
    for (uint32_t y = 0; y < extent.height; ++y) {
        for (uint32_t x = 0; x < extent.width; ++x) {
            const Rgb mean = meanOf(picture, x * mRule.across, y * mRule.down, mRule);
            mSecond.put(x, y, yCbCrOf(mean)[1]);
            mThird.put(x, y, yCbCrOf(mean)[2]);
        }
    }
}

void PixelAccess::write(const Picture& picture) const {
    for (uint32_t y = 0; y < picture.height(); ++y) {
        for (uint32_t x = 0; x < picture.width(); ++x) {
            putPixel(x, y, picture.at(x, y));
        }
    }
    if (mRule.model == Model::kYCbCr) {
        putChroma(picture);
    }
}

const SampleRule* ruleOf(int32_t format) {
    return NSCam::gralloc::findCode<kRules>(format);
}

}  // namespace

bool hasPicture(int32_t format) {
    return ruleOf(format) != nullptr;
}

bool holdsPicture(const LockedBuffer& buffer) {
    const SampleRule* const rule = ruleOf(buffer.layout.format);
    return rule && buffer.data && buffer.layout.widthInPixels > 0 &&
           buffer.layout.heightInPixels > 0 && PixelAccess(buffer, *rule).isInside();
}

Picture readPicture(const LockedBuffer& buffer) {
    const PixelAccess pixels(buffer, *ruleOf(buffer.layout.format));
    Picture picture(static_cast<uint32_t>(buffer.layout.widthInPixels),
                    static_cast<uint32_t>(buffer.layout.heightInPixels));
    for (uint32_t y = 0; y < picture.height(); ++y) {
        for (uint32_t x = 0; x < picture.width(); ++x) {
            picture.at(x, y) = pixels.at(x, y);
        }
    }
    return picture;
}

void writePicture(const LockedBuffer& buffer, const Picture& picture) {
    PixelAccess(buffer, *ruleOf(buffer.layout.format)).write(picture);
}

}  // namespace grallocinfo
