// A module's own test as its project would hold it: plexa_query is answered here, and the installed
// library must find this one instead of the installed extension's.
#include <cstdio>

#include "platform/plexa.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace {

int calls = 0;

}  // namespace

extern "C" int plexa_query(const native_handle*, int, void*) {
    ++calls;
    return -1;
}

int main() {
    const zcam::GrallocRequest request{
            .usage = 0, .format = 0x11, .widthInPixels = 1920, .heightInPixels = 1080};
    zcam::GrallocStaticInfo info;
    const int status = NSCam::IGrallocHelper::singleton()->query(&request, &info, false);
    if (calls == 0 || status == 0) {
        std::fprintf(stderr, "the library never asked the replacement (status %d)\n", status);
        return 1;
    }
    return 0;
}
