// Faults on demand: what ZELKCAM_HOST_QUIRKS asks for.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include <android/hardware/graphics/mapper/IMapper.h>

namespace zelkcam::host::quirks {

// The n-th call of its kind, counted from 1 in each process, answers `error`; 0: none does.
struct Refusal {
    uint64_t call = 0;
    AIMapper_Error error = AIMAPPER_ERROR_NO_RESOURCES;
};

struct Quirks {
    Refusal allocation;
    Refusal import;
    Refusal lock;
    uint64_t goneFrom = 0;  // the n-th allocation and all after it find the service dead
    std::chrono::milliseconds allocationTime{0};
    // Unlocks give a release fence that signals so much later.
    std::optional<std::chrono::milliseconds> fenceTime;
    bool growingMetadata = false;
    // The buffer-attribute extension is another library's, so a preloaded one takes its place.
    bool extensionFails = false;
};

// How long a fence takes that is never signalled: programs wait for fences without limit.
inline constexpr std::chrono::seconds kStuckFenceTime{10};

// "NAME", "NAME=VALUE" or "NAME=VALUE:ERROR", several with commas between them. No value, and what
// is wrong in `problem`, for anything else.
std::optional<Quirks> parseQuirks(std::string_view text, std::string* problem);

}  // namespace zelkcam::host::quirks
