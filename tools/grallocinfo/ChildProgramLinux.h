// Another program, run to its end.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace grallocinfo {

struct Ending {
    std::optional<int> exit;  // none when a signal ended it
    int signal = 0;
    bool stopped = false;  // SIGTERM or SIGHUP came, and was passed on
    std::chrono::duration<double> time{};

    bool isGood() const { return exit == 0 && !stopped; }
    // Somebody ended it and will want no further run.
    bool isInterrupted() const;
};

using Variables = std::vector<std::pair<std::string, std::string>>;

// Starts words[0], looked for in PATH, with the other words for its arguments and with `variables`
// beside the environment of this process; it has the descriptors of this process. Ctrl-C is for the
// program while it runs, and SIGTERM and SIGHUP are passed on to it. Throws a Failure (unusable
// arguments) when it cannot be started.
Ending runToEnd(const std::vector<std::string>& words, const Variables& variables);

}  // namespace grallocinfo
