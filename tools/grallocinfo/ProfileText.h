// Device profiles in words.
#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "profile/Profile.h"
#include "tools/grallocinfo/PrintJson.h"

namespace grallocinfo {

// "width x 4, to 64": a quantity as somebody would say it.
std::string describe(const zelkcam::profile::Quantity& quantity);
// "no bit of 0xff, height above 2048", or "always".
std::string conditionsOf(const zelkcam::profile::Rule& rule);
// "96 samples", "90 of 96 samples, the rest is replayed", or "stated" for a rule without samples.
std::string evidenceOf(const zelkcam::profile::Rule& rule);

// A label and its text.
using LabelledText = std::pair<std::string, std::string>;

struct RuleText {
    std::string conditions;
    std::string outcome;  // "refused with 2", or what the buffer becomes
    std::vector<LabelledText> formulas;
    std::string evidence;
    bool isPartlyGuessed = false;
};
RuleText describe(const zelkcam::profile::Rule& rule, const zelkcam::profile::Profile& profile);
std::vector<LabelledText> describe(const zelkcam::profile::Traits& traits);
// Which locks are granted: the first that holds counts.
std::vector<LabelledText> describe(const std::vector<zelkcam::profile::LockRule>& locks);

void printProfile(std::ostream& out, const zelkcam::profile::Profile& profile);
Json profileDocument(const zelkcam::profile::Profile& profile);

}  // namespace grallocinfo
