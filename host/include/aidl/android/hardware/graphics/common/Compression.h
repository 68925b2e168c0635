// How the content of a buffer is compressed.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_COMPRESSION(ROW) \
    ROW(NONE, 0)                      \
    ROW(DISPLAY_STREAM_COMPRESSION, 1)

enum class Compression : int64_t { ZELKCAM_AIDL_COMPRESSION(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(Compression, ZELKCAM_AIDL_COMPRESSION)
#undef ZELKCAM_AIDL_COMPRESSION

}  // namespace aidl::android::hardware::graphics::common
