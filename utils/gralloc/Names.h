// Readable names of pixel formats, usages and dataspaces. Safe from any thread; none of them fails.
#pragma once

#include "platform/utils.h"

namespace NSCam::gralloc {

// The name of a pixel format code, empty when it has none. Each name is built once; the result
// shares its characters.
android::String8 gQueryPixelFormatName(int format);

// "0" and the names of the usage's fields and flags, "|" before each. Bits without a name are left
// out.
android::String8 gQueryGrallocUsageName(int usage);

// The name of a dataspace, or its hexadecimal code, and the names of its fields, "|" before each; a
// legacy code is its bare name.
android::String8 gQueryDataspaceName(int dataspace);

}  // namespace NSCam::gralloc
