// What happens to the plug of a display.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_DISPLAY_HOTPLUG_EVENT(ROW) \
    ROW(CONNECTED, 0)                           \
    ROW(DISCONNECTED, 1)                        \
    ROW(ERROR_UNKNOWN, -1)                      \
    ROW(ERROR_INCOMPATIBLE_CABLE, -2)           \
    ROW(ERROR_TOO_MANY_DISPLAYS, -3)

enum class DisplayHotplugEvent : int32_t { ZELKCAM_AIDL_DISPLAY_HOTPLUG_EVENT(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(DisplayHotplugEvent, ZELKCAM_AIDL_DISPLAY_HOTPLUG_EVENT)
#undef ZELKCAM_AIDL_DISPLAY_HOTPLUG_EVENT

}  // namespace aidl::android::hardware::graphics::common
