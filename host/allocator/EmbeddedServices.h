// The AIDL services that the host platform brings along.
#pragma once

#include <string>

#include <android/binder_ibinder.h>

namespace zelkcam::host {

// The embedded service of the instance name with one strong reference, the caller's; null when
// there is none. The service manager asks once per name.
AIBinder* embeddedAidlService(const std::string& instance);

}  // namespace zelkcam::host
