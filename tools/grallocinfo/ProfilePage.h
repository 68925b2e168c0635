// Device profiles as pages for a browser.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "profile/Profile.h"
#include "tools/grallocinfo/ProfileDiff.h"

namespace grallocinfo {

// The rules of a profile, what it answers to common requests, and pictures of the planes.
void printProfilePage(std::ostream& out, const zelkcam::profile::Profile& profile);

// Two profiles side by side; `differences` are what compareProfiles finds.
void printDifferencePage(std::ostream& out, const zelkcam::profile::Profile& left,
                         const zelkcam::profile::Profile& right,
                         const std::vector<ProfileDifference>& differences);

// Differences of anything else; `left` and `right` are what they are between.
void printDifferencePage(std::ostream& out, const std::string& left, const std::string& right,
                         const std::vector<ProfileDifference>& differences);

}  // namespace grallocinfo
