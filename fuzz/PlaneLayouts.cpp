// Plane layouts in the form of the HIDL mapper.
#include "fuzz/Fuzz.h"

using namespace zelkcam::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    android::hardware::hidl_vec<uint8_t> bytes;
    bytes.setToExternal(const_cast<uint8_t*>(data), size);
    std::vector<PlaneLayout> planes;
    if (android::gralloc4::decodePlaneLayouts(bytes, &planes) != android::OK) {
        return 0;
    }
    android::hardware::hidl_vec<uint8_t> encoded;
    require(android::gralloc4::encodePlaneLayouts(planes, &encoded) == android::OK);
    std::vector<PlaneLayout> again;
    require(android::gralloc4::decodePlaneLayouts(encoded, &again) == android::OK &&
            again == planes);
    for (const PlaneLayout& plane : planes) {
        require(!plane.toString().empty());
    }
    return 0;
}
