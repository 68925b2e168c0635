// Repeats one operation, to be counted from outside.
//
//   budget_operations hit|statement TIMES
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/ulog.h"
#include "platform/utils.h"
#include "utils/gralloc/IGrallocInfoProvider.h"

void closedStatement();

namespace {

constexpr int32_t kEntries = 256;

zcam::GrallocRequest numberedRequest(int32_t index) {
    return {.usage = 0,
            .format = HAL_PIXEL_FORMAT_BLOB,
            .widthInPixels = index + 1,
            .heightInPixels = 1};
}

// Asks for every layout in turn, so that the first kEntries answers come from probes.
bool repeatHits(int32_t times) {
    const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
    zcam::GrallocStaticInfo info;
    for (int32_t i = 0; i < kEntries + times; ++i) {
        const zcam::GrallocRequest request = numberedRequest(i % kEntries);
        if (provider->query(&request, &info) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    const std::string_view operation = argv[1];
    const int32_t times = atoi(argv[2]);
    // The level lets debug lines through and the modules do not: both fields are looked at.
    NSCam::Utils::ULog::ULogger::sDetailsLevel = 5;
    NSCam::Utils::ULog::ULogger::sNormalDetailsMask = 0x40000000;

    if (operation == "hit") {
        return repeatHits(times) ? 0 : 1;
    }
    for (int32_t i = 0; i < times; ++i) {
        closedStatement();
    }
    return 0;
}
