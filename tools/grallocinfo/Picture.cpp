#include "tools/grallocinfo/Picture.h"

#include <array>
#include <cmath>

namespace grallocinfo {

namespace {

struct Rgb {
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

// A position in the picture, both from 0 to below 1.
struct Position {
    double across;
    double down;
};

constexpr std::array<Rgb, 8> kBars{{{255, 255, 255},
                                    {255, 255, 0},
                                    {0, 255, 255},
                                    {0, 255, 0},
                                    {255, 0, 255},
                                    {255, 0, 0},
                                    {0, 0, 255},
                                    {0, 0, 0}}};
constexpr Rgb kLine{128, 128, 128};
constexpr double kBarsHeight = 0.75;
constexpr double kLineWidth = 0.006;
constexpr double kEllipseRadius = 0.3;
constexpr double kGreySteps = 16;
constexpr double kSquares = 16;

uint8_t level(double part) {
    return static_cast<uint8_t>(std::lround(part * 255));
}

Rgb bars(Position at) {
    const double x = at.across - 0.5;
    const double y = at.down - kBarsHeight / 2;
    if (at.down < kBarsHeight && (std::abs(std::hypot(x, y) - kEllipseRadius) < kLineWidth ||
                                  std::abs(at.across - at.down / kBarsHeight) < kLineWidth)) {
        return kLine;
    }
    if (at.down < kBarsHeight) {
        return kBars[static_cast<size_t>(at.across * kBars.size())];
    }
    const uint8_t grey = level(std::floor(at.across * kGreySteps) / (kGreySteps - 1));
    return {grey, grey, grey};
}

Rgb ramp(Position at) {
    return {level(at.across), level(at.down), level(1 - at.across)};
}

Rgb checker(Position at) {
    const auto square =
            static_cast<int>(at.across * kSquares) + static_cast<int>(at.down * kSquares);
    return square % 2 ? Rgb{200, 40, 40} : Rgb{40, 120, 200};
}

struct Pattern {
    std::string_view name;
    Rgb (*colourAt)(Position);
};

constexpr std::array<Pattern, 3> kPatterns{{{"bars", bars}, {"ramp", ramp}, {"checker", checker}}};

const Pattern* findPattern(std::string_view name) {
    for (const Pattern& pattern : kPatterns) {
        if (pattern.name == name) {
            return &pattern;
        }
    }
    return nullptr;
}

}  // namespace

std::string patternNames() {
    std::string names;
    for (const Pattern& pattern : kPatterns) {
        names += (names.empty() ? "" : "|") + std::string(pattern.name);
    }
    return names;
}

bool isPattern(std::string_view name) {
    return findPattern(name) != nullptr;
}

Picture drawPattern(std::string_view name, uint32_t width, uint32_t height) {
    const Pattern* const pattern = findPattern(name);
    Picture picture(Samples::kRgb8, width, height);
    for (uint32_t y = 0; pattern && y < height; ++y) {
        uint8_t* sample = picture.row(y);
        for (uint32_t x = 0; x < width; ++x) {
            const Rgb colour = pattern->colourAt({double(x) / width, double(y) / height});
            *sample++ = colour.red;
            *sample++ = colour.green;
            *sample++ = colour.blue;
        }
    }
    return picture;
}

}  // namespace grallocinfo
