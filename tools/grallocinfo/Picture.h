// Pictures in RGB, and the test patterns.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace grallocinfo {

struct Rgb {
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
};

class Picture {
  public:
    Picture(uint32_t width, uint32_t height)
        : mWidth(width), mHeight(height), mPixels(size_t{width} * height) {}

    uint32_t width() const { return mWidth; }
    uint32_t height() const { return mHeight; }
    Rgb& at(uint32_t x, uint32_t y) { return mPixels[size_t{y} * mWidth + x]; }
    const Rgb& at(uint32_t x, uint32_t y) const { return mPixels[size_t{y} * mWidth + x]; }

  private:
    uint32_t mWidth;
    uint32_t mHeight;
    std::vector<Rgb> mPixels;
};

// The names of the patterns, joined by '|'.
std::string patternNames();

bool isPattern(std::string_view name);

// A pattern of patternNames() that fills the size. "bars" shows colours, grey steps and, by its
// ellipse and diagonal, rows that slip; "ramp" and "checker" show banding and chroma siting.
Picture drawPattern(std::string_view name, uint32_t width, uint32_t height);

}  // namespace grallocinfo
