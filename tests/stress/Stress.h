// What the stress tests share: how long, chance, and what a process holds.
#pragma once

#include <dirent.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace zelkcam::stress {

using Clock = std::chrono::steady_clock;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocAllocatorAidlV2::PixelFormat;
using NSCam::GrallocMapperAidlV2::MapperV5;

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

struct Holdings {
    long descriptors = 0;
    long mappings = 0;  // of buffers
    bool operator==(const Holdings&) const = default;
};

inline Holdings holdings() {
    Holdings held;
    DIR* const folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr)
        ++held.descriptors;
    closedir(folder);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        held.mappings += line.find("memfd:zelkcam") != std::string::npos;
    return held;
}

inline std::ostream& operator<<(std::ostream& out, const Holdings& held) {
    return out << held.descriptors << " descriptors, " << held.mappings << " mappings";
}

}  // namespace zelkcam::stress
