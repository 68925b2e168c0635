// Names for call stacks, and whose code the frames are.
#pragma once

#include <string>
#include <vector>

#include "host/check/CallStack.h"

namespace zelkcam::host::check {

struct Frame {
    std::string function;  // qualified, without parameters; "module+0x1a2b" when it has no name
    std::string file;      // the module's when the source is not known
    int line = 0;          // 0 when it is not known
    std::string module;    // the file that was loaded
};

// Who called, innermost first, with a frame for every inlined function, and for those that left
// none as they ended with a call. Slow, and takes memory and descriptors for a while.
std::vector<Frame> resolve(const CallStack& stack);

enum class Owner { Program, Library, Platform };

// To whom the innermost frame belongs that is not the C library's or a sanitizer's.
Owner ownerOf(const std::vector<Frame>& frames);

// Whether the library itself unlocked, inside one of its locks.
bool isUnlockInsideLock(const std::vector<Frame>& frames);

// Whether the library itself unlocked, while it looked for a layout.
bool isUnlockOfLayoutQuery(const std::vector<Frame>& frames);

// Without the innermost frames that are the library's and the platform's, so that the program's own
// call comes first. Whole when nothing else is in it.
std::vector<Frame> programFrames(std::vector<Frame> frames);

}  // namespace zelkcam::host::check
