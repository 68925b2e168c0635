// The doors between the library and the platform, as the sweep sees them: each call through one is
// counted, and one call of a trial fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zelkcam::faults {

// One way to fail. `value` is what the door answers then, where an answer is a number.
struct Fault {
    const char* name;
    int64_t value = 0;
};

struct Door {
    const char* name;
    std::span<const Fault> faults;
};

inline constexpr size_t kNoCall = SIZE_MAX;

// What one trial does and what it leaves behind. Lies in memory that forked trials share with the
// sweep, so that a trial that ends its process has been heard.
struct Trial {
    static constexpr size_t kMostCalls = 1024;

    bool armed;          // calls count from now on
    size_t failingCall;  // kNoCall: none
    size_t fault;        // index into the door's faults
    size_t calls;
    const Door* doors[kMostCalls];

    bool hit;          // the failing call has been made
    bool done;         // the operation has returned and its stage is cleared
    bool fatal;        // ended by an assertion
    int64_t result;    // of the operation
    int locks;         // that the operation left on its buffer
    long descriptors;  // more than before
    long mappings;
};

Trial& trial();

// Notes a call of the door. Answers the fault that this very call is to have, or null.
const Fault* pass(const Door& door);

// No call counts as long as one of these lives: for what a wrapper does on its own account.
class Pause {
  public:
    Pause() : mArmed(trial().armed) { trial().armed = false; }
    ~Pause() { trial().armed = mArmed; }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

  private:
    bool mArmed;
};

// The next definition of a function that this program replaces.
void* nextDefinition(const char* symbol);

}  // namespace zelkcam::faults

// Calls the platform's own `name`, a function without overloads.
#define ZELKCAM_NEXT(name) \
    reinterpret_cast<decltype(&::name)>(::zelkcam::faults::nextDefinition(#name))
