// From what a device answered to the rules that it seems to follow.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "profile/Profile.h"

namespace zelkcam::profile {

using Size = std::pair<uint32_t, uint32_t>;  // width and height

// Fills the profile's formats and locks from its shapes and samples. The same samples give the same
// rules.
void infer(Profile& profile);

// The rules of one format; its samples are of different usages and none is empty.
FormatRules inferFormat(const std::vector<const Samples*>& samples,
                        const std::vector<Shape>& shapes);

// Whether two requests of one size were answered alike.
inline bool sameAnswer(const Answer& a, const Answer& b) {
    return a.answer == b.answer && a.shape == b.shape && a.numbers == b.numbers;
}

// A condition on usages and the class of those that meet it and none of the conditions before.
struct UsageClass {
    std::vector<UsageTest> tests;
    size_t number = 0;
};

// The simplest list of conditions that gives every usage its class. The last has no condition.
std::vector<UsageClass> separate(std::vector<std::pair<uint64_t, size_t>> usages);

}  // namespace zelkcam::profile
