// The tag and path of every message of the facade, whichever of its source files holds the
// statement.
#pragma once

#include "utils/gralloc/Log.h"

namespace NSCam::gralloc {

inline constexpr char kLogTag[] = "ZelkCam/GrallocHelper";
inline constexpr char kSourcePath[] = "utils/gralloc/GrallocHelper";

}  // namespace NSCam::gralloc
