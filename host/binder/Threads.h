// What joining a thread pool comes to where no driver ever ends it.
#pragma once

#include <unistd.h>

namespace zelkcam::host {

[[noreturn]] inline void blockForEver() {
    while (true) {
        pause();
    }
}

}  // namespace zelkcam::host
