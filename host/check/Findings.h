// What the checker found, and where it tells it.
#pragma once

#include <optional>
#include <string>

#include "host/check/CallStack.h"

namespace zelkcam::host::check {

struct Earlier {
    std::string what;  // "locked here"
    CallStack stack;
};

enum class Weight {
    Finding,     // a fault of the program
    ByContract,  // what the library does by contract, though it looks like a fault
    Note,        // unusual, but no fault
};

struct Finding {
    const char* kind;  // "leaked-import"
    std::string message;
    CallStack stack;  // of the offending call
    std::optional<Earlier> earlier;
    Weight weight = Weight::Finding;
};

// Tells the file that this process is checked.
void tellStarted();

// Tells a finding at once: appends it, as one line of JSON, to the file that
// ZELKCAM_HOST_CHECK_REPORT names, or prints it on standard error when that is not set. The file is
// opened anew each time, so that programs may close all their descriptors, and any number of
// processes may share it. A finding that is like an earlier one in all that is told is left out,
// and of findings with one kind and one place only the first hundred are told.
//
// Safe from any thread; slow. Not for signal handlers.
void tell(const Finding& finding);

// As long as one lives, what the calling thread does is the checker's own work, which nobody is
// blamed for: names are looked up in files, for example.
class OwnWork {
  public:
    OwnWork();
    ~OwnWork();
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;

  private:
    bool mIsNested;
};

// Whether the calling thread does the checker's own work.
bool isOwnWork();

// Whether the environment asks that notes of padding be findings (ZELKCAM_HOST_CHECK_STRICT).
bool isStrict();

}  // namespace zelkcam::host::check
