#include <cstdio>
#include <cstdlib>

#include "bench/Compare.h"
#include "platform/ulog.h"

void zelkcam::bench::giveUp(const char* reason) {
    fprintf(stderr, "grallocutils_bench: %s\n", reason);
    exit(1);
}

int main(int argc, char** argv) {
    // Closed gates, as on a product: the layout rules' warnings would be the price of a log.
    NSCam::Utils::ULog::ULogger::sDetailsLevel = 0;

    const std::string firstCall = "--first-call=";
    if (argc == 2 && std::string(argv[1]).starts_with(firstCall)) {
        return zelkcam::bench::runFirstCall(argv[1] + firstCall.size());
    }

    if (argc == 2 && std::string(argv[1]) == zelkcam::bench::kCheckedFrame) {
        return zelkcam::bench::runCheckedFrame();
    }

    zelkcam::bench::registerCacheHits();
    zelkcam::bench::registerCacheMisses();
    zelkcam::bench::registerLogStatements();
    zelkcam::bench::registerBufferOperations();
    zelkcam::bench::registerNames();
    zelkcam::bench::registerHdrMetadata();
    zelkcam::bench::registerFirstCall();
    zelkcam::bench::registerCheckedFrame();
    zelkcam::bench::registerProfileLoad();

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
