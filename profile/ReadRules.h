// The rules of a document.
#pragma once

#include <vector>

#include "profile/Node.h"
#include "profile/Profile.h"

namespace zelkcam::profile {

// The conditions in an object's "usage" and "size"; none where there is none.
std::vector<UsageTest> readUsageTests(const Node& node);
std::vector<SizeTest> readSizeTests(const Node& node);

// A rule for buffers of one of `shapes`. Fails unless all that it counts from is known when its
// turn comes.
Rule readRule(const Node& node, const std::vector<Shape>& shapes);

}  // namespace zelkcam::profile
