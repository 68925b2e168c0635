// A camera module as its own project would hold it: asks for a layout and prints it.
#include <cstdio>

#include "utils/gralloc/IGrallocHelper.h"

int main() {
    const zcam::GrallocRequest request{
            .usage = 0, .format = 0x11, .widthInPixels = 1920, .heightInPixels = 1080};
    zcam::GrallocStaticInfo info;
    const int status = NSCam::IGrallocHelper::singleton()->query(&request, &info, false);
    if (status != 0) {
        std::fprintf(stderr, "the query answers %d\n", status);
        return 1;
    }
    std::printf("0x%x %dx%d\n", info.format, info.widthInPixels, info.heightInPixels);
    for (const auto& plane : info.planes) {
        std::printf("%lu %lu\n", plane.rowStrideInBytes, plane.sizeInBytes);
    }
    return info.planes.size() == 2 ? 0 : 1;
}
