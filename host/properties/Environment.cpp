#include "host/properties/Environment.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace zelkcam::host {

// One line in one write, so that the lines of several processes do not mix, whatever the variable
// holds.
void reportVariable(const char* name, const char* value, const char* message) {
    std::string line =
            "zelkcam: " + std::string(name) + "=" + std::string(value, strnlen(value, 200)) + " ";
    line += message;
    std::ranges::replace_if(
            line, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
    dprintf(STDERR_FILENO, "%s\n", line.c_str());
}

}  // namespace zelkcam::host
