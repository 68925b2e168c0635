// The device, asked by a process of its own: some questions end the process that asks them.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

#include "profile/Record.h"
#include "tools/grallocinfo/Interruption.h"

namespace grallocinfo {

// Starts with no thread and no service in use; the processes that it starts use them. Throws a
// Failure when there is no device to ask, and when a signal interrupts a question.
class DeviceChild {
  public:
    explicit DeviceChild(const Interruption& interruption) : mInterruption(interruption) {}
    ~DeviceChild();
    DeviceChild(const DeviceChild&) = delete;
    DeviceChild& operator=(const DeviceChild&) = delete;

    // Where only a lock ends the process, locks are refused with BAD_VALUE; where nothing else
    // helps, the request is refused with kOtherException.
    zelkcam::profile::Observation ask(const zelkcam::profile::Request& request, bool locks);
    // Leaves the traits alone if the probe ended the process.
    void probe(size_t number, zelkcam::profile::Traits& traits);

    size_t deaths() const { return mDeaths; }

  private:
    std::optional<zelkcam::profile::Profile> askUntilAnswered(
            const zelkcam::profile::Request& request, bool locks);
    // The answer to a question, both profile documents; empty when the process ended over it.
    std::string exchange(const std::string& question);
    void start();
    void stop();

    const Interruption& mInterruption;
    pid_t mChild = -1;
    int mTo = -1;
    int mFrom = -1;
    size_t mDeaths = 0;
};

}  // namespace grallocinfo
