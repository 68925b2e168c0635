// The HIDL graphics allocator 4.0.
#pragma once

#include <stdint.h>

#include <functional>
#include <string>

#include <android/hardware/graphics/mapper/4.0/types.h>
#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlInterface.h"

namespace android::hardware::graphics::allocator::V4_0 {

// Allocates graphic buffers. Own slot 13.
struct IAllocator : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    static const char* descriptor;  // "android.hardware.graphics.allocator@4.0::IAllocator"

    bool isRemote() const override { return false; }

    using allocate_cb = std::function<void(
            ::android::hardware::graphics::mapper::V4_0::Error error, uint32_t stride,
            const ::android::hardware::hidl_vec<::android::hardware::hidl_handle>& buffers)>;
    // Allocates count buffers of a descriptor that the mapper made; stride in pixels. The handles
    // are raw and the service's: import or clone them inside the callback. BAD_DESCRIPTOR,
    // NO_RESOURCES or UNSUPPORTED on failure.
    virtual ::android::hardware::Return<void> allocate(
            const ::android::hardware::hidl_vec<uint8_t>& descriptor, uint32_t count,
            allocate_cb _hidl_cb) = 0;

    ZELKCAM_HIDL_BASE_OPERATIONS(IAllocator)
    ZELKCAM_HIDL_SERVICE_OPERATIONS(IAllocator)
};

ZELKCAM_HIDL_INTERFACE_TEXT(IAllocator)

}  // namespace android::hardware::graphics::allocator::V4_0
