// Which questions find a device's rules, and the profile that its answers make.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "profile/Evaluate.h"
#include "profile/Profile.h"

namespace zelkcam::profile {

// What a device answered to one request.
struct Observation {
    int32_t answer = kGranted;
    Shape shape;
    Numbers numbers;
    std::optional<LockAnswer> locks;              // where they were asked for
    std::optional<std::vector<int64_t>> library;  // as in Answer
};

// What there is to see of a device that replies so.
Observation observationOf(const Reply& reply, bool locks);

// Asks the device; `locks` asks for a lock for reading and one for writing, too.
using Ask = std::function<Observation(const Request& request, bool locks)>;

// No recording asks more often.
inline constexpr size_t kMaxQuestions = 4000;

// Asks about `formats` and fills the profile's shapes and samples, formats and locks. Whatever the
// device answers, the questions end; the same answers lead to the same questions.
void record(const std::vector<int32_t>& formats, const Ask& ask, Profile& profile);

}  // namespace zelkcam::profile
