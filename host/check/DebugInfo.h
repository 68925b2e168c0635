// The debug information of the process's modules, read by elfutils' libdw: Debian keeps it, and it
// expands inlined functions and finds separate debug files.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/check/Symbols.h"

struct Dwfl;

namespace zelkcam::host::check {

// Slow to make, and holds memory and descriptors, so for a while only.
class DebugInfo {
  public:
    DebugInfo();

    // The function that an address is in, behind those that are inlined there: one frame at least.
    std::vector<Frame> functionsAt(uint64_t address) const;

    // The functions that left no frame between two others of a stack, innermost first: each of them
    // ended by calling the next one. `caller` is in the instruction of its call, and `callee` is in
    // the function of the next frame. Empty when there are none, or when it cannot be told.
    std::vector<Frame> tailCallersBetween(uint64_t caller, uint64_t callee,
                                          const std::string& calleeName) const;

  private:
    struct End {
        void operator()(Dwfl* session) const;
    };
    std::unique_ptr<Dwfl, End> mSession;
};

}  // namespace zelkcam::host::check
