// A probe through the HIDL 4.0 pair.
#pragma once

#include "tools/grallocinfo/Answers.h"

namespace grallocinfo {

// Allocates a buffer of the request as its probe is, asks the HIDL mapper for its planes and frees
// it. Throws a Failure when the services are missing or refuse.
MapperAnswer probeThroughHidl(const zcam::GrallocRequest& request);

}  // namespace grallocinfo
