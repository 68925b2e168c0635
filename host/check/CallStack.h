// Where in the program something happened: taken at every operation, so cheap and without names.
#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace zelkcam::host::check {

class CallStack {
  public:
    // The callers of the calling function, innermost first.
    static CallStack here();

    // Inside a signal handler: where the signal struck, `pc`, and its callers.
    static CallStack ofSignal(void* pc);

    std::span<void* const> frames() const { return {mFrames.data(), mCount}; }

    // Whether the first frame is the very instruction. All others are return addresses, which may
    // belong to the line behind the call.
    bool beginsAtInstruction() const { return mBeginsAtInstruction; }

  private:
    std::array<void*, 32> mFrames{};
    size_t mCount = 0;
    bool mBeginsAtInstruction = false;
};

}  // namespace zelkcam::host::check
