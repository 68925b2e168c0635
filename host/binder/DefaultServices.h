// Where the service manager finds the services that answer when no others were registered.
#pragma once

#include <string>

#include <android/binder_ibinder.h>

namespace zelkcam::host {

// Answers the default service of an instance name with one strong reference, the caller's, or null.
// Is asked from any thread, each time that no registered service has the name.
using DefaultAidlServices = AIBinder* (*)(const std::string& instance);

// Null, as at first, stands for no defaults.
void setDefaultAidlServices(DefaultAidlServices find);

}  // namespace zelkcam::host
