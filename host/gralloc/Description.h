// What a client may ask for, and which of it this allocator can give.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include <android/hardware/graphics/mapper/IMapper.h>

#include "host/gralloc/Formats.h"

namespace zelkcam::host::gralloc {

// The description of a buffer, as requested. Stands in shared memory as it is: no pointers.
struct Description {
    std::array<char, 128> name{};  // NUL-terminated
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t layerCount = 0;
    int32_t format = 0;
    uint64_t usage = 0;
    uint64_t reservedSize = 0;

    bool operator==(const Description&) const = default;

    // Takes the name over, cut to what fits before the NUL.
    void setName(std::string_view text);
};

inline constexpr uint64_t kMaxReservedSize = 1 << 20;

// Fills `layout` for a description that can be allocated. BAD_VALUE for one that no allocator could
// serve (a zero dimension, a name without end), UNSUPPORTED for one that this allocator does not:
// more or fewer layers than one, an unknown format, usage bits that must be zero, a size out of
// bounds. The answer depends on the description alone, so "supported" holds for good.
AIMapper_Error check(const Description& description, Layout* layout);

}  // namespace zelkcam::host::gralloc
