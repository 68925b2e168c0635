#include "host/properties/Environment.h"

#include <stdio.h>
#include <unistd.h>

namespace zelkcam::host {

// In one write, so that the lines of several processes do not mix.
void reportVariable(const char* name, const char* value, const char* message) {
    dprintf(STDERR_FILENO, "zelkcam: %s=%.200s %s\n", name, value, message);
}

}  // namespace zelkcam::host
