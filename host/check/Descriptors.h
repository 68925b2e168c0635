// Descriptors that belong to buffers, and fences that the platform gave: who closes them.
#pragma once

#include <string>

#include <cutils/native_handle.h>

#include "host/check/CallStack.h"

namespace zelkcam::host::check {

// Begins to watch; false when the library that sees descriptors closed was not preloaded. Fences
// are not known then.
bool watchDescriptors();

// The descriptors of an imported handle are the buffer's, until it is freed. `buffer` names it.
// One that is no longer what it was when the buffer is freed, by something that was not seen, is
// told then.
void addBorrowed(const native_handle_t& handle, const std::string& buffer, const CallStack& stack);
void removeBorrowed(const native_handle_t& handle, const CallStack& freed);

// The program owns the fence from now on.
void addFence(int fd, const std::string& buffer, const CallStack& stack);

// Tells what was put off: a close of one descriptor after the other is not told, as programs close
// all that they do not know of.
void tellPendingCloses();

// Tells of the fences that nobody closed.
void tellLeakedFences();

}  // namespace zelkcam::host::check
