// What else would explain a rule's samples.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "profile/Profile.h"

namespace zelkcam::profile {

using Size = std::pair<uint32_t, uint32_t>;  // width and height

// Sizes at which formulas are compared: whole units of many alignments, what cameras have, and any.
const std::vector<Size>& probeSizes();

// Whether the numbers of a rule are those of all answers, as far as buffers of the shape tell them.
bool explains(const Rule& rule, const std::vector<const Answer*>& answers, const Shape& shape);

// The numbers of a rule as far as buffers of the shape tell them.
std::optional<Numbers> toldBy(const Rule& rule, const Shape& shape, const Size& size);

inline constexpr size_t kMostOthers = 8;

// Rules like `rule`, which explains all answers, that explain them too but give other numbers
// somewhere in the range that was asked about; kMostOthers of them at most.
std::vector<Rule> othersOf(const Rule& rule, const std::vector<const Answer*>& answers,
                           const Shape& shape);

}  // namespace zelkcam::profile
