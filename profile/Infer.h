// From what a device answered to the rules that it seems to follow.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "profile/Layouts.h"
#include "profile/Profile.h"

namespace zelkcam::profile {

// Fills the profile's formats and locks from its shapes and samples. The same samples give the same
// rules.
void infer(Profile& profile);

inline constexpr size_t kNoLayout = SIZE_MAX;

// A rule, and the number of the layout that it shares with rules of other formats and usages.
struct FoundRule {
    Rule rule;          // without conditions on usages
    size_t layout = 0;  // or kNoLayout, of a refusal
    size_t own = 0;     // so many of its conditions on sizes are the format's, not the layout's
};

// What is known about some usages of a format that nothing tells apart.
struct Finding {
    int32_t format = 0;
    std::vector<uint64_t> usages;
    std::vector<FoundRule> rules;  // the first whose conditions hold
};

// Whether the first rule whose conditions hold refuses.
bool isRefused(const Finding& finding, const Size& size);

// What the first rule whose conditions hold answers; nothing if its numbers leave their range.
std::optional<Answer> predict(const Finding& finding, const std::vector<Shape>& shapes,
                              const Size& size);

// What samples tell; they are of different formats and usages and none is empty.
std::vector<Finding> findRules(const std::vector<const Samples*>& samples,
                               const std::vector<Shape>& shapes, KnownLayouts& known);

// Whether a condition is about sizes that are no multiples.
inline bool isOdd(const SizeTest& test) {
    return test.op == SizeOp::kOddWidth || test.op == SizeOp::kOddHeight;
}

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
