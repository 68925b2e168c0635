// Variables of the environment that steer the host platform.
#pragma once

namespace zelkcam::host {

// Writes one line to standard error about a variable that was set to something unusable, in the
// form "zelkcam: NAME=VALUE MESSAGE". Works before main.
void reportVariable(const char* name, const char* value, const char* message);

}  // namespace zelkcam::host
