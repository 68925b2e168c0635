#include "tools/grallocinfo/ChildProgramLinux.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

namespace {

using Clock = std::chrono::steady_clock;

volatile sig_atomic_t gProgram = 0;
volatile sig_atomic_t gStopped = 0;

void passOn(int signal) {
    gStopped = 1;
    if (gProgram > 0) {
        kill(gProgram, signal);
    }
}

// The keyboard's signals reach the whole foreground: the program decides, and we report what became
// of it. What is sent to us alone is passed on, so that the program does not outlive us.
class SignalsAreThePrograms {
  public:
    SignalsAreThePrograms() {
        sigset_t blocked;
        sigemptyset(&blocked);
        for (size_t i = 0; i < std::size(kSignals); ++i) {
            sigaction(kSignals[i].number, nullptr, &mBefore[i]);
            struct sigaction action = {};
            action.sa_handler = mBefore[i].sa_handler == SIG_IGN ? SIG_IGN : kSignals[i].handler;
            sigaction(kSignals[i].number, &action, nullptr);
            sigaddset(&blocked, kSignals[i].number);
        }
        sigprocmask(SIG_BLOCK, &blocked, &mMask);
    }
    ~SignalsAreThePrograms() {
        gProgram = 0;
        restore();
    }

    // In the parent, when there is a program to have them.
    void let(pid_t program) const {
        gProgram = program;
        sigprocmask(SIG_SETMASK, &mMask, nullptr);
    }
    // In the child, before it becomes the program.
    void restore() const {
        for (size_t i = 0; i < std::size(kSignals); ++i) {
            sigaction(kSignals[i].number, &mBefore[i], nullptr);
        }
        sigprocmask(SIG_SETMASK, &mMask, nullptr);
    }

  private:
    struct Signal {
        int number;
        void (*handler)(int);
    };
    static inline const Signal kSignals[] = {
            {SIGINT, SIG_IGN}, {SIGQUIT, SIG_IGN}, {SIGTERM, passOn}, {SIGHUP, passOn}};

    struct sigaction mBefore[4] = {};
    sigset_t mMask = {};
};

// Tells through `report` why the program could not be started; a pipe that closes on exec.
[[noreturn]] void become(const std::vector<std::string>& words, const Variables& variables,
                         int report) {
    for (const auto& [name, value] : variables) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    [[maybe_unused]] const ssize_t told = write(report, &error, sizeof(error));
    _exit(127);
}

int waitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            throw systemFailure("cannot wait for the program", errno);
        }
    }
    return status;
}

// 0 when the program runs, errno when it could not be started.
int startError(int report) {
    int error = 0;
    ssize_t size = 0;
    do {
        size = read(report, &error, sizeof(error));
    } while (size < 0 && errno == EINTR);
    close(report);
    return size == sizeof(error) ? error : 0;
}

Ending endingOf(int status, Clock::time_point start) {
    Ending ending;
    ending.time = Clock::now() - start;
    ending.stopped = gStopped != 0;
    if (WIFEXITED(status)) {
        ending.exit = WEXITSTATUS(status);
    } else {
        ending.signal = WTERMSIG(status);
    }
    return ending;
}

}  // namespace

bool Ending::isInterrupted() const {
    return stopped || signal == SIGINT || signal == SIGQUIT || signal == SIGTERM;
}

Ending runToEnd(const std::vector<std::string>& words, const Variables& variables) {
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0) {
        throw systemFailure("cannot make a pipe", errno);
    }
    const SignalsAreThePrograms signals;
    const auto start = Clock::now();
    const pid_t process = fork();
    if (process == 0) {
        signals.restore();
        become(words, variables, report[1]);
    }
    const int forkError = errno;
    signals.let(process);
    close(report[1]);
    if (process < 0) {
        close(report[0]);
        throw systemFailure("cannot start a process", forkError);
    }
    const int error = startError(report[0]);
    const int status = waitFor(process);
    if (error != 0) {
        throw unusable("program " + inQuotes(words[0]) + " cannot be started (" + strerror(error) +
                       "): expected a program and its arguments behind --");
    }
    return endingOf(status, start);
}

}  // namespace grallocinfo
