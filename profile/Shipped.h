// The profiles that come with the tree, and profiles by name or file.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "profile/Profile.h"

namespace zelkcam::profile {

struct ShippedProfile {
    std::string_view name;
    std::string_view document;
};

// `default` first.
std::span<const ShippedProfile> shippedProfiles();

// A profile, and a number that tells its document from others.
struct Loaded {
    Profile profile;
    uint64_t fingerprint = 0;
};

// The shipped profile of that name, else the file. Nothing on failure, and `error` becomes one line
// with the name, where in the document it is wrong, and why.
std::optional<Loaded> load(const std::string& nameOrFile, std::string* error);

}  // namespace zelkcam::profile
