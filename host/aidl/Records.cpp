// What the generated AIDL records leave to a library: their names, and how they are flattened.
// Without remote binders there are no parcels to flatten them into.
#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidl/android/hardware/graphics/allocator/AllocationResult.h>
#include <aidl/android/hardware/graphics/allocator/BufferDescriptorInfo.h>
#include <aidl/android/hardware/graphics/common/Cta861_3.h>
#include <aidl/android/hardware/graphics/common/ExtendableType.h>
#include <aidl/android/hardware/graphics/common/FRect.h>
#include <aidl/android/hardware/graphics/common/HardwareBuffer.h>
#include <aidl/android/hardware/graphics/common/PlaneLayout.h>
#include <aidl/android/hardware/graphics/common/PlaneLayoutComponent.h>
#include <aidl/android/hardware/graphics/common/Point.h>
#include <aidl/android/hardware/graphics/common/Rect.h>
#include <aidl/android/hardware/graphics/common/Smpte2086.h>
#include <aidl/android/hardware/graphics/common/XyColor.h>

#define DEFINE_RECORD(RECORD, PACKAGE)                       \
    const char* RECORD::descriptor = PACKAGE "." #RECORD;    \
    binder_status_t RECORD::readFromParcel(const AParcel*) { \
        return STATUS_INVALID_OPERATION;                     \
    }                                                        \
    binder_status_t RECORD::writeToParcel(AParcel*) const {  \
        return STATUS_INVALID_OPERATION;                     \
    }

namespace aidl::android::hardware {

namespace common {
DEFINE_RECORD(NativeHandle, "android.hardware.common")
}  // namespace common

namespace graphics::common {
DEFINE_RECORD(Cta861_3, "android.hardware.graphics.common")
DEFINE_RECORD(ExtendableType, "android.hardware.graphics.common")
DEFINE_RECORD(FRect, "android.hardware.graphics.common")
DEFINE_RECORD(HardwareBufferDescription, "android.hardware.graphics.common")
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
DEFINE_RECORD(HardwareBuffer, "android.hardware.graphics.common")
#pragma GCC diagnostic pop
DEFINE_RECORD(PlaneLayout, "android.hardware.graphics.common")
DEFINE_RECORD(PlaneLayoutComponent, "android.hardware.graphics.common")
DEFINE_RECORD(Point, "android.hardware.graphics.common")
DEFINE_RECORD(Rect, "android.hardware.graphics.common")
DEFINE_RECORD(Smpte2086, "android.hardware.graphics.common")
DEFINE_RECORD(XyColor, "android.hardware.graphics.common")
}  // namespace graphics::common

namespace graphics::allocator {
DEFINE_RECORD(AllocationResult, "android.hardware.graphics.allocator")
DEFINE_RECORD(BufferDescriptorInfo, "android.hardware.graphics.allocator")
}  // namespace graphics::allocator

}  // namespace aidl::android::hardware
