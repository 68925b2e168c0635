// A debug statement that prints nothing: once because of the level, once because of the modules.
#include "bench/Compare.h"
#include "utils/gralloc/Log.h"

namespace zelkcam::bench {
namespace {

using NSCam::Utils::ULog::ULogger;

constexpr char kLogTag[] = "ZelkCam/Bench";

class Gate {
  public:
    Gate(uint32_t level, uint32_t mask) {
        ULogger::sDetailsLevel = level;
        ULogger::sNormalDetailsMask = mask;
    }
    ~Gate() {
        ULogger::sDetailsLevel = mLevel;
        ULogger::sNormalDetailsMask = mMask;
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

  private:
    const uint32_t mLevel = ULogger::sDetailsLevel;
    const uint32_t mMask = ULogger::sNormalDetailsMask;
};

void compareGate(const std::string& row, uint32_t level, uint32_t mask) {
    const auto statement = [=](auto&& measure) {
        const Gate gate(level, mask);
        int argument = 0;
        benchmark::DoNotOptimize(argument);
        measure([&] {
            LOGD_AS("statement", "%d", argument);
            benchmark::ClobberMemory();
        });
    };
    // Two loads and their compares.
    const auto twoFields = [](auto&& measure) {
        uint64_t opened = 0;
        measure([&] {
            if (ULogger::sDetailsLevel >= 5 && ULogger::sNormalDetailsMask != 0) [[unlikely]] {
                ++opened;
            }
            benchmark::ClobberMemory();
        });
        benchmark::DoNotOptimize(opened);
    };
    compare(row, statement, twoFields);
}

}  // namespace

void registerLogStatements() {
    compareGate("closed_debug/by_level", 2, 0x40007000);
    compareGate("closed_debug/by_mask", 5, 0);
}

}  // namespace zelkcam::bench
