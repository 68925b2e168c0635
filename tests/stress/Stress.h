// What the stress tests share: how long, how often, and chance.
#pragma once

#include <chrono>
#include <cstdlib>
#include <random>

#include "tests/support/Holdings.h"
#include "tests/support/Live.h"

namespace zelkcam::stress {

using Clock = std::chrono::steady_clock;
using namespace NSCam::GrallocMapperAidlV2;
using namespace test;

// What the environment asks for, at least 1.
inline int wanted(const char* variable, int otherwise) {
    const char* const value = getenv(variable);
    return value != nullptr ? std::max(1, atoi(value)) : otherwise;
}

// Contract: the library drops the release fence of an unlock without closing it, so a device that
// gives one is left without descriptors before long.
inline constexpr char kFencesPileUp[] = "every unlock leaves a release fence open";

// Of each test against the clock.
inline std::chrono::seconds duration() {
    return std::chrono::seconds(wanted("ZELKCAM_STRESS_SECONDS", 1));
}

// One of these a thread.
class Chance {
  public:
    explicit Chance(uint64_t seed) : mEngine(seed) {}
    size_t below(size_t limit) {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(mEngine);
    }

  private:
    std::mt19937_64 mEngine;
};

}  // namespace zelkcam::stress
