// Who uses a buffer and how. Bits 10, 13, 19, 21 and 33 to 47 have to be zero.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <android/binder_enums.h>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

namespace aidl {
namespace android {
namespace hardware {
namespace graphics {
namespace common {

enum class BufferUsage : int64_t {
    CPU_READ_MASK = 0xF,
    CPU_READ_NEVER = 0,
    CPU_READ_RARELY = 2,
    CPU_READ_OFTEN = 3,
    CPU_WRITE_MASK = 0xF0,
    CPU_WRITE_NEVER = 0,
    CPU_WRITE_RARELY = 0x20,
    CPU_WRITE_OFTEN = 0x30,
    GPU_TEXTURE = 1LL << 8,
    GPU_RENDER_TARGET = 1LL << 9,
    COMPOSER_OVERLAY = 1LL << 11,
    COMPOSER_CLIENT_TARGET = 1LL << 12,
    PROTECTED = 1LL << 14,
    COMPOSER_CURSOR = 1LL << 15,
    VIDEO_ENCODER = 1LL << 16,
    CAMERA_OUTPUT = 1LL << 17,
    CAMERA_INPUT = 1LL << 18,
    RENDERSCRIPT = 1LL << 20,
    VIDEO_DECODER = 1LL << 22,
    SENSOR_DIRECT_DATA = 1LL << 23,
    GPU_DATA_BUFFER = 1LL << 24,
    GPU_CUBE_MAP = 1LL << 25,
    GPU_MIPMAP_COMPLETE = 1LL << 26,
    HW_IMAGE_ENCODER = 1LL << 27,
    FRONT_BUFFER = 1LL << 32,
    VENDOR_MASK = 0xF0000000LL,
    // bits 48 to 63
    VENDOR_MASK_HI = -0x1000000000000LL,
};

// The enumerator's name; of several with one value the first; the number of an unknown value.
[[nodiscard]] static inline std::string toString(BufferUsage val) {
    switch (val) {
        case BufferUsage::CPU_READ_MASK:
            return "CPU_READ_MASK";
        case BufferUsage::CPU_READ_NEVER:
            return "CPU_READ_NEVER";
        case BufferUsage::CPU_READ_RARELY:
            return "CPU_READ_RARELY";
        case BufferUsage::CPU_READ_OFTEN:
            return "CPU_READ_OFTEN";
        case BufferUsage::CPU_WRITE_MASK:
            return "CPU_WRITE_MASK";
        case BufferUsage::CPU_WRITE_RARELY:
            return "CPU_WRITE_RARELY";
        case BufferUsage::CPU_WRITE_OFTEN:
            return "CPU_WRITE_OFTEN";
        case BufferUsage::GPU_TEXTURE:
            return "GPU_TEXTURE";
        case BufferUsage::GPU_RENDER_TARGET:
            return "GPU_RENDER_TARGET";
        case BufferUsage::COMPOSER_OVERLAY:
            return "COMPOSER_OVERLAY";
        case BufferUsage::COMPOSER_CLIENT_TARGET:
            return "COMPOSER_CLIENT_TARGET";
        case BufferUsage::PROTECTED:
            return "PROTECTED";
        case BufferUsage::COMPOSER_CURSOR:
            return "COMPOSER_CURSOR";
        case BufferUsage::VIDEO_ENCODER:
            return "VIDEO_ENCODER";
        case BufferUsage::CAMERA_OUTPUT:
            return "CAMERA_OUTPUT";
        case BufferUsage::CAMERA_INPUT:
            return "CAMERA_INPUT";
        case BufferUsage::RENDERSCRIPT:
            return "RENDERSCRIPT";
        case BufferUsage::VIDEO_DECODER:
            return "VIDEO_DECODER";
        case BufferUsage::SENSOR_DIRECT_DATA:
            return "SENSOR_DIRECT_DATA";
        case BufferUsage::GPU_DATA_BUFFER:
            return "GPU_DATA_BUFFER";
        case BufferUsage::GPU_CUBE_MAP:
            return "GPU_CUBE_MAP";
        case BufferUsage::GPU_MIPMAP_COMPLETE:
            return "GPU_MIPMAP_COMPLETE";
        case BufferUsage::HW_IMAGE_ENCODER:
            return "HW_IMAGE_ENCODER";
        case BufferUsage::FRONT_BUFFER:
            return "FRONT_BUFFER";
        case BufferUsage::VENDOR_MASK:
            return "VENDOR_MASK";
        case BufferUsage::VENDOR_MASK_HI:
            return "VENDOR_MASK_HI";
        default:
            return std::to_string(static_cast<int64_t>(val));
    }
}

}  // namespace common
}  // namespace graphics
}  // namespace hardware
}  // namespace android
}  // namespace aidl

namespace ndk {
namespace internal {

template <>
constexpr inline std::array<aidl::android::hardware::graphics::common::BufferUsage, 27>
        enum_values<aidl::android::hardware::graphics::common::BufferUsage> = {
                aidl::android::hardware::graphics::common::BufferUsage::CPU_READ_MASK,
                aidl::android::hardware::graphics::common::BufferUsage::CPU_READ_NEVER,
                aidl::android::hardware::graphics::common::BufferUsage::CPU_READ_RARELY,
                aidl::android::hardware::graphics::common::BufferUsage::CPU_READ_OFTEN,
                aidl::android::hardware::graphics::common::BufferUsage::CPU_WRITE_MASK,
                aidl::android::hardware::graphics::common::BufferUsage::CPU_WRITE_NEVER,
                aidl::android::hardware::graphics::common::BufferUsage::CPU_WRITE_RARELY,
                aidl::android::hardware::graphics::common::BufferUsage::CPU_WRITE_OFTEN,
                aidl::android::hardware::graphics::common::BufferUsage::GPU_TEXTURE,
                aidl::android::hardware::graphics::common::BufferUsage::GPU_RENDER_TARGET,
                aidl::android::hardware::graphics::common::BufferUsage::COMPOSER_OVERLAY,
                aidl::android::hardware::graphics::common::BufferUsage::COMPOSER_CLIENT_TARGET,
                aidl::android::hardware::graphics::common::BufferUsage::PROTECTED,
                aidl::android::hardware::graphics::common::BufferUsage::COMPOSER_CURSOR,
                aidl::android::hardware::graphics::common::BufferUsage::VIDEO_ENCODER,
                aidl::android::hardware::graphics::common::BufferUsage::CAMERA_OUTPUT,
                aidl::android::hardware::graphics::common::BufferUsage::CAMERA_INPUT,
                aidl::android::hardware::graphics::common::BufferUsage::RENDERSCRIPT,
                aidl::android::hardware::graphics::common::BufferUsage::VIDEO_DECODER,
                aidl::android::hardware::graphics::common::BufferUsage::SENSOR_DIRECT_DATA,
                aidl::android::hardware::graphics::common::BufferUsage::GPU_DATA_BUFFER,
                aidl::android::hardware::graphics::common::BufferUsage::GPU_CUBE_MAP,
                aidl::android::hardware::graphics::common::BufferUsage::GPU_MIPMAP_COMPLETE,
                aidl::android::hardware::graphics::common::BufferUsage::HW_IMAGE_ENCODER,
                aidl::android::hardware::graphics::common::BufferUsage::FRONT_BUFFER,
                aidl::android::hardware::graphics::common::BufferUsage::VENDOR_MASK,
                aidl::android::hardware::graphics::common::BufferUsage::VENDOR_MASK_HI,
};

}  // namespace internal
}  // namespace ndk
