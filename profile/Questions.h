// Sizes at which an answer would tell what rules leave open.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <tuple>
#include <vector>

#include "profile/Infer.h"

namespace zelkcam::profile {

// Between which two sizes of an axis a device is known to change. A device often changes where it
// does so for other formats.
using Border = std::tuple<Axis, int64_t, int64_t>;
using Borders = std::set<Border>;

// Borders of a finding that lie as close as they can be told.
void addBorders(const Finding& finding, Borders& borders);

// Sizes that tell which dimension it is that a device refuses: as far along the one as it takes and
// short on the other; and the largest that the limits leave, which an area may forbid. Devices
// mostly refuse the same of other formats.
void addLimitChecks(const Finding& finding, std::set<Size>& sizes);

// For each border of the finding's rules, a size between what is known of its sides; of rules'
// `own` conditions only unless `whole`. `isNew` tells whether a size was not asked about yet.
std::vector<Size> betweenBorders(Finding finding, const std::vector<Shape>& shapes,
                                 const Borders& known, bool whole,
                                 const std::function<bool(const Size&)>& isNew);

// Sizes for which the rule and the others that explain its samples give different numbers, as far
// as buffers of the shape tell them.
std::vector<Size> tellingApart(const FoundRule& found, const Shape& shape, size_t most,
                               const std::function<bool(const Size&)>& isNew);

}  // namespace zelkcam::profile
