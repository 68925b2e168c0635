// The message that carries a handle: this header, then numInts integers; the descriptors ride with
// its header. Both ends are on one machine, so fields are in native order.
#pragma once

#include <cstdint>

namespace zelkcam::host::transport {

inline constexpr uint32_t kMagic = 0x484b4c5a;  // "ZLKH"
inline constexpr uint32_t kVersion = 1;

struct MessageHeader {
    uint32_t magic;
    uint32_t version;
    uint32_t numFds;
    uint32_t numInts;
};
static_assert(sizeof(MessageHeader) == 16);

}  // namespace zelkcam::host::transport
