// Interrupted waits.
#pragma once

#include <sys/time.h>

#include <csignal>

namespace zelkcam::test {

// As long as one of these lives, the process is sent a signal every millisecond, which a system
// call that waits answers by EINTR.
class Alarms {
  public:
    Alarms() {
        struct sigaction action = {};  // without SA_RESTART
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &mOldAction);
        const itimerval often{{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~Alarms() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &mOldAction, nullptr);
    }
    Alarms(const Alarms&) = delete;
    Alarms& operator=(const Alarms&) = delete;

  private:
    struct sigaction mOldAction = {};
};

}  // namespace zelkcam::test
