#include "tools/grallocinfo/Interruption.h"

#include <poll.h>

#include <cerrno>

#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

namespace {

volatile sig_atomic_t gInterrupted = 0;

}  // namespace

// The signals are let in only while a wait lasts, so that none arrives just before it.
Interruption::Interruption() {
    struct sigaction action = {};
    action.sa_handler = [](int) { gInterrupted = 1; };
    sigset_t blocked;
    sigemptyset(&blocked);
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaddset(&blocked, signal);
        sigaction(signal, &action, nullptr);
    }
    sigprocmask(SIG_BLOCK, &blocked, &mBefore);
}

Interruption::~Interruption() {
    sigprocmask(SIG_SETMASK, &mBefore, nullptr);
}

bool Interruption::waitFor(int fd) const {
    pollfd waiting{fd, POLLIN, 0};
    while (!gInterrupted) {
        const int ready = ppoll(&waiting, 1, nullptr, &mBefore);
        if (ready > 0) {
            return !gInterrupted;
        }
        if (ready < 0 && errno != EINTR) {
            throw systemFailure("cannot wait for input", errno);
        }
    }
    return false;
}

}  // namespace grallocinfo
