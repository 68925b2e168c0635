// Bits of a buffer's usage, as the published interfaces number them.
#pragma once

#include <cstdint>

namespace zelkcam::profile {

inline constexpr uint64_t kReadRarely = 0x2;
inline constexpr uint64_t kReadOften = 0x3;
inline constexpr uint64_t kReadMask = 0xF;
inline constexpr uint64_t kWriteRarely = 0x20;
inline constexpr uint64_t kWriteOften = 0x30;
inline constexpr uint64_t kWriteMask = 0xF0;
inline constexpr uint64_t kTexture = 1 << 8;
inline constexpr uint64_t kRender = 1 << 9;
inline constexpr uint64_t kComposer = 1 << 11;
inline constexpr uint64_t kProtected = 1 << 14;
inline constexpr uint64_t kEncoder = 1 << 16;
inline constexpr uint64_t kCameraWrite = 1 << 17;
inline constexpr uint64_t kCameraRead = 1 << 18;

}  // namespace zelkcam::profile
