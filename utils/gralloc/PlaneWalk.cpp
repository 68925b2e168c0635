#include "utils/gralloc/PlaneWalk.h"

#include <algorithm>

namespace NSCam::gralloc {
namespace {

using aidl::android::hardware::graphics::common::PlaneLayoutComponentType;

// The value of `field` in every plane, or -1 when it is not one value that 32 bits hold.
int32_t commonValue(const std::vector<PlaneLayout>& planes, int64_t PlaneLayout::*field) {
    const int32_t first = cutTo32(planes.front().*field);
    const bool common = std::all_of(planes.begin(), planes.end(), [=](const PlaneLayout& plane) {
        return plane.*field == first;
    });
    return common ? first : -1;
}

int bytesPerPixel(const std::vector<PlaneLayout>& planes) {
    const int32_t bits = commonValue(planes, &PlaneLayout::sampleIncrementInBits);
    return bits < 0 || bits % 8 != 0 ? -1 : bits / 8;
}

int bytesPerStride(const std::vector<PlaneLayout>& planes) {
    return std::max(commonValue(planes, &PlaneLayout::strideInBytes), -1);
}

}  // namespace

void tellPixelAndStride(const std::vector<PlaneLayout>& planes, int* outBytesPerPixel,
                        int* outBytesPerStride) {
    if (planes.empty()) {
        return;
    }
    if (outBytesPerPixel != nullptr) {
        *outBytesPerPixel = bytesPerPixel(planes);
    }
    if (outBytesPerStride != nullptr) {
        *outBytesPerStride = bytesPerStride(planes);
    }
}

bool YcbcrWalk::add(const PlaneLayout& plane) {
    return std::all_of(plane.components.begin(), plane.components.end(),
                       [&](const Component& component) { return addComponent(plane, component); });
}

bool YcbcrWalk::addComponent(const PlaneLayout& plane, const Component& component) {
    // Contract: the published test compares only as many characters as the given name has, so a
    // shortened or empty name counts as standard.
    if (!android::gralloc4::isStandardPlaneLayoutComponentType(component.type)) {
        return true;
    }
    // Contract: checked for every standard component, also for those that are ignored below.
    if (component.offsetInBits % 8 != 0) {
        return false;
    }

    void* const address =
            addressAt(addressAt(mBase, plane.offsetInBytes), component.offsetInBits / 8);
    switch (static_cast<PlaneLayoutComponentType>(component.type.value)) {
        case PlaneLayoutComponentType::Y:
            return addLuma(plane, component, address);
        case PlaneLayoutComponentType::CB:
            return addChroma(plane, address, &mDescription.cb);
        case PlaneLayoutComponentType::CR:
            return addChroma(plane, address, &mDescription.cr);
        default:
            return true;
    }
}

bool YcbcrWalk::addLuma(const PlaneLayout& plane, const Component& component, void* address) {
    if (mDescription.y != nullptr || component.sizeInBits != 8 ||
        plane.sampleIncrementInBits != 8) {
        return false;
    }
    mDescription.y = address;
    mDescription.ystride = static_cast<size_t>(plane.strideInBytes);
    return true;
}

// `slot` is the pointer of the description that `address` is for.
bool YcbcrWalk::addChroma(const PlaneLayout& plane, void* address, void** slot) {
    if (plane.sampleIncrementInBits != 8 && plane.sampleIncrementInBits != 16) {
        return false;
    }

    const auto stride = static_cast<size_t>(plane.strideInBytes);
    const auto step = static_cast<size_t>(plane.sampleIncrementInBits / 8);
    if (mDescription.cstride == 0 && mDescription.chroma_step == 0) {
        mDescription.cstride = stride;
        mDescription.chroma_step = step;
    } else if (mDescription.cstride != stride || mDescription.chroma_step != step) {
        return false;
    }

    if (*slot != nullptr) {
        return false;
    }
    *slot = address;
    return true;
}

}  // namespace NSCam::gralloc
