// Ctrl-C and SIGTERM as an event to wait for.
#pragma once

#include <signal.h>

namespace grallocinfo {

// For as long as this object lives, SIGINT and SIGTERM end the waits below and nothing else.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    // Waits until `fd` can be read (or has ended, or failed); false when a signal came. Throws a
    // Failure when it cannot wait.
    bool waitFor(int fd) const;

  private:
    sigset_t mBefore;
};

}  // namespace grallocinfo
