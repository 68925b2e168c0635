// What two devices answer differently, by their profiles.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "profile/Profile.h"
#include "tools/grallocinfo/PrintJson.h"

namespace grallocinfo {

struct ProfileDifference {
    int weight = 0;       // how much it surprises, the more the higher
    std::string subject;  // "YV12 (0x32315659)", or "traits"
    std::string what;     // "row of plane 1"
    std::string left;
    std::string right;
    std::string example;  // the request of the two values; empty for traits
    size_t requests = 0;  // of `asked`, that differ so
    size_t asked = 0;
};

// The most surprising first.
std::vector<ProfileDifference> compareProfiles(const zelkcam::profile::Profile& left,
                                               const zelkcam::profile::Profile& right);

void printDifferences(std::ostream& out, const std::vector<ProfileDifference>& differences);
Json differencesDocument(const std::vector<ProfileDifference>& differences);

}  // namespace grallocinfo
