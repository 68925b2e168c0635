// libzelkcam_check.so: loading it puts the checker in front of the host's buffers.
#include <execinfo.h>
#include <pthread.h>

#include <cstdlib>

#include "host/check/CheckedGralloc.h"
#include "host/check/Descriptors.h"

namespace zelkcam::host::check {
namespace {

// Never destroyed: clients free buffers in their own exit destructors.
CheckedGralloc& checker() {
    static auto& checker = *new CheckedGralloc(gralloc::gralloc());
    return checker;
}

void tellHeld() {
    tellPendingCloses();
    tellLeakedFences();
    checker().tellLeaks();
}

__attribute__((constructor)) void begin() {
    // The first call loads the unwinder, which takes memory; later ones may be in a signal handler.
    void* frame = nullptr;
    backtrace(&frame, 1);
    decorateGralloc(checker());
    tellStarted();
    watchDescriptors();
    static_cast<void>(at_quick_exit(tellHeld));
    pthread_atfork([] { checker().mutex().lock(); }, [] { checker().mutex().unlock(); },
                   [] { checker().mutex().unlock(); });
}

}  // namespace
}  // namespace zelkcam::host::check

extern "C" __attribute__((visibility("default"))) void zelkcam_endCheck() {
    zelkcam::host::check::tellHeld();
}
