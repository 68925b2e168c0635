// The formulas of one rule from answers of one shape.
#pragma once

#include <vector>

#include "profile/Fit.h"
#include "profile/Profile.h"

namespace zelkcam::profile {

// Fills the rule's quantities. Answers that they do not explain are the caller's to find.
void fitNumbers(const std::vector<const Answer*>& answers, const Shape& shape, Rule& rule);

}  // namespace zelkcam::profile
