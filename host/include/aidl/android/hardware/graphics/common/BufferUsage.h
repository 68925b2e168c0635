// Who uses a buffer and how. Bits 10, 13, 19, 21 and 33 to 47 have to be zero.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

// VENDOR_MASK_HI: bits 48 to 63.
#define ZELKCAM_AIDL_BUFFER_USAGE(ROW)     \
    ROW(CPU_READ_MASK, 0xF)                \
    ROW(CPU_READ_NEVER, 0)                 \
    ROW(CPU_READ_RARELY, 2)                \
    ROW(CPU_READ_OFTEN, 3)                 \
    ROW(CPU_WRITE_MASK, 0xF0)              \
    ROW(CPU_WRITE_NEVER, 0)                \
    ROW(CPU_WRITE_RARELY, 0x20)            \
    ROW(CPU_WRITE_OFTEN, 0x30)             \
    ROW(GPU_TEXTURE, 1LL << 8)             \
    ROW(GPU_RENDER_TARGET, 1LL << 9)       \
    ROW(COMPOSER_OVERLAY, 1LL << 11)       \
    ROW(COMPOSER_CLIENT_TARGET, 1LL << 12) \
    ROW(PROTECTED, 1LL << 14)              \
    ROW(COMPOSER_CURSOR, 1LL << 15)        \
    ROW(VIDEO_ENCODER, 1LL << 16)          \
    ROW(CAMERA_OUTPUT, 1LL << 17)          \
    ROW(CAMERA_INPUT, 1LL << 18)           \
    ROW(RENDERSCRIPT, 1LL << 20)           \
    ROW(VIDEO_DECODER, 1LL << 22)          \
    ROW(SENSOR_DIRECT_DATA, 1LL << 23)     \
    ROW(GPU_DATA_BUFFER, 1LL << 24)        \
    ROW(GPU_CUBE_MAP, 1LL << 25)           \
    ROW(GPU_MIPMAP_COMPLETE, 1LL << 26)    \
    ROW(HW_IMAGE_ENCODER, 1LL << 27)       \
    ROW(FRONT_BUFFER, 1LL << 32)           \
    ROW(VENDOR_MASK, 0xF0000000LL)         \
    ROW(VENDOR_MASK_HI, -0x1000000000000LL)

enum class BufferUsage : int64_t { ZELKCAM_AIDL_BUFFER_USAGE(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(BufferUsage, ZELKCAM_AIDL_BUFFER_USAGE)
#undef ZELKCAM_AIDL_BUFFER_USAGE

}  // namespace aidl::android::hardware::graphics::common
