// Made-up devices that differ from each other as real ones do, for what infers their rules.
#pragma once

#include <span>
#include <string>

#include "profile/Record.h"

namespace zelkcam::test {

struct TestDevice {
    const char* name;
    // What allocator and mapper answer; locks always.
    profile::Observation (*answer)(const profile::Request& request);
};

std::span<const TestDevice> testDevices();

}  // namespace zelkcam::test
