// A second process, connected to the first by a socket that handles travel over.
#pragma once

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "zelkcam/host/HandleTransport.h"

namespace zelkcam::test {

struct Peer {
    pid_t id;
    host::TransportSocket socket;

    // Its wait status, once it has ended.
    int wait() const {
        int status = -1;
        waitpid(id, &status, 0);
        return status;
    }
};

// Runs `body` in a process of its own, which ends with its result.
template <typename Body>
Peer startPeer(const Body& body) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        abort();
    }
    const pid_t id = fork();
    if (id == 0) {
        close(ends[0]);
        _exit(body(ends[1]));
    }
    close(ends[1]);
    return {id, host::TransportSocket(ends[0])};
}

}  // namespace zelkcam::test
