// Device profiles in words.
#pragma once

#include <ostream>
#include <string>

#include "profile/Profile.h"
#include "tools/grallocinfo/PrintJson.h"

namespace grallocinfo {

// "width x 4, to 64": a quantity as somebody would say it.
std::string describe(const zelkcam::profile::Quantity& quantity);
// "no bit of 0xff, height above 2048", or "always".
std::string conditionsOf(const zelkcam::profile::Rule& rule);
// "96 samples", "90 of 96 samples, the rest is replayed", or "stated" for a rule without samples.
std::string evidenceOf(const zelkcam::profile::Rule& rule);

void printProfile(std::ostream& out, const zelkcam::profile::Profile& profile);
Json profileDocument(const zelkcam::profile::Profile& profile);

}  // namespace grallocinfo
