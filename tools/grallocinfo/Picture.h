// Pictures, and the test patterns.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace grallocinfo {

// What a picture's samples are: 8 bits as screens take them (sRGB), or 16 bits of linear light.
enum class Samples : uint8_t { kRgb8, kGrey8, kLinearRgb16, kLinearGrey16 };

class Picture {
  public:
    Picture(Samples samples, uint32_t width, uint32_t height)
        : mSamples(samples),
          mWidth(width),
          mHeight(height),
          mBytes(size_t{width} * height * pixelBytes(samples)) {}

    Samples samples() const { return mSamples; }
    uint32_t width() const { return mWidth; }
    uint32_t height() const { return mHeight; }
    size_t rowBytes() const { return size_t{mWidth} * pixelBytes(mSamples); }

    // Rows follow each other without padding; red, green and blue are stored in this order.
    uint8_t* row(size_t y) { return mBytes.data() + y * rowBytes(); }
    const uint8_t* row(size_t y) const { return mBytes.data() + y * rowBytes(); }
    uint16_t* row16(size_t y) { return reinterpret_cast<uint16_t*>(row(y)); }

  private:
    static size_t pixelBytes(Samples samples) {
        const bool isRgb = samples == Samples::kRgb8 || samples == Samples::kLinearRgb16;
        const bool isWide = samples == Samples::kLinearRgb16 || samples == Samples::kLinearGrey16;
        return size_t{isRgb ? 3u : 1u} * (isWide ? 2 : 1);
    }

    Samples mSamples;
    uint32_t mWidth;
    uint32_t mHeight;
    std::vector<uint8_t> mBytes;
};

// The names of the patterns, joined by '|'.
std::string patternNames();

bool isPattern(std::string_view name);

// A pattern of patternNames() that fills the size, as kRgb8. "bars" shows colours, grey steps and,
// by its ellipse and diagonal, rows that slip; "ramp" and "checker" show banding and chroma siting.
Picture drawPattern(std::string_view name, uint32_t width, uint32_t height);

}  // namespace grallocinfo
