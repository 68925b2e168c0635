// What the stress tests share: how long, and chance.
#pragma once

#include <chrono>
#include <cstdlib>
#include <random>

#include "tests/support/Holdings.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace zelkcam::stress {

using Clock = std::chrono::steady_clock;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocAllocatorAidlV2::PixelFormat;
using NSCam::GrallocMapperAidlV2::MapperV5;
using test::Holdings;
using test::holdings;

inline constexpr uint64_t kCpu = 0x33;

// Of each test; ZELKCAM_STRESS_SECONDS asks for more.
inline std::chrono::seconds duration() {
    const char* const wanted = getenv("ZELKCAM_STRESS_SECONDS");
    return std::chrono::seconds(wanted != nullptr ? std::max(1, atoi(wanted)) : 2);
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
