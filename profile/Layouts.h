// The layouts behind answers: formats and usages that a device lays out alike share one.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "profile/Others.h"
#include "profile/Profile.h"

namespace zelkcam::profile {

// Rules by the key of their layout's best known member, for callers that infer again and again with
// a few more answers: what still explains all is not looked for anew.
using KnownLayouts = std::map<uint64_t, std::vector<Rule>>;

using Answers = std::vector<const Answer*>;

// Answers of one shape to requests of one format and class of usages.
struct Told {
    uint64_t key = 0;  // the same for the same format and usages
    uint32_t shape = 0;
    Answers answers;
};

struct Layout {
    std::vector<size_t> members;  // numbers of the Told that follow it
    std::vector<Rule> rules;      // by size, the first whose conditions hold
    int64_t maxWidth = 0;
    int64_t maxHeight = 0;
};

// Every Told is a member of one layout, whose rules have a shape of a member's.
std::vector<Layout> findLayouts(const std::vector<Told>& told, const std::vector<Shape>& shapes,
                                KnownLayouts& known);

}  // namespace zelkcam::profile
