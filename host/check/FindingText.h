// A finding as people read it. Built into the checker, and into grallocinfo.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace zelkcam::host::check {

// From the JSON that the checker writes: several lines, the first without a blank in front.
std::string textOf(const nlohmann::ordered_json& finding);

}  // namespace zelkcam::host::check
