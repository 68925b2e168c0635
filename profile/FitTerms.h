// Pieces that formulas are made of, for the files that look for them.
#pragma once

#include <cstdint>
#include <vector>

#include "profile/Fit.h"

namespace zelkcam::profile {

struct Ratio {
    int64_t times;
    int64_t per;
};

// Bytes of a pixel where the planes do not tell.
inline constexpr Ratio kBytesPerPixel[] = {{1, 1}, {2, 1}, {4, 1}, {3, 1}, {8, 1}, {5, 4},
                                           {3, 2}, {6, 1}, {5, 3}, {4, 3}, {1, 2}, {1, 4}};
// Units of pixels that a row's bytes are counted in.
inline constexpr int64_t kUnits[] = {2, 4,  8,  16, 32, 64, 128, 256, 12,  24,  48, 96,
                                     6, 10, 20, 40, 80, 36, 72,  144, 192, 160, 320};
inline constexpr int64_t kRowAlignments[] = {1,   2,  4,  8,  16, 32, 64, 128,
                                             256, 12, 24, 48, 96, 6,  10, 20};

// Rows that some devices keep behind a picture.
inline constexpr int64_t kGuardRows[] = {0, 1, 2, 4, 8, 16, 32};

inline int64_t alignUp(int64_t value, int64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

Ratio reduced(int64_t times, int64_t per);

// The values of `base` in the term's units times a ratio, rounded up if asked for.
Option scaled(const Series& base, Term term, Ratio ratio, bool up);
Option plain(const Series& base, Term term);

bool isConstant(const Series& series);
Quantity oneTerm(const Term& term);

// What all values have in common as a divisor.
int64_t divisorOf(const Series& series);

}  // namespace zelkcam::profile
