// Formulas that explain observed numbers: the simplest first.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "profile/Profile.h"

namespace zelkcam::profile {

using Series = std::vector<int64_t>;

// A formula still without its constant and alignment, and its value in every sample.
struct Option {
    Term term;
    Series values;
};

// How far a formula may go to explain.
enum class Effort : uint8_t {
    kExact,    // the option's value as it is
    kAligned,  // rounded up
    kPlus,     // with a constant added before that
    kOdd,      // with something more behind it, always or by the value, or with a least value
    kZones,    // different formulas by size
};

// The sizes of the samples, by axis.
struct Sizes {
    Series width, height, area;

    const Series& on(Axis axis) const {
        return axis == Axis::kWidth ? width : axis == Axis::kHeight ? height : area;
    }
};

// The first of `options` that explains all of `target` with the least effort up to `most`.
std::optional<Quantity> fit(const Series& target, const std::vector<Option>& options,
                            const Sizes& sizes, Effort most);

// The formula that explains the most, for samples that none explains.
Quantity fitMost(const Series& target, const std::vector<Option>& options);

// The roundest number of [low, high]: most of its last bits are zero.
int64_t roundest(int64_t low, int64_t high);

}  // namespace zelkcam::profile
