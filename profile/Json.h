// Profiles as JSON documents; docs/profile.schema.json describes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "profile/Profile.h"

namespace zelkcam::profile {

// A document of at most this many bytes is looked at.
inline constexpr size_t kMaxDocumentSize = size_t{16} << 20;

// Reads a profile that may come from anywhere. Nothing on failure, and `error` becomes one line
// that tells where in the document and why.
std::optional<Profile> readJson(std::string_view text, std::string* error);

// The document of a profile, one sample a line. Reading it gives the profile again.
std::string writeJson(const Profile& profile);

}  // namespace zelkcam::profile
