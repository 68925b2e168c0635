// The metadata that an allocation fixes for good, in encoded form.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "host/gralloc/Description.h"
#include "host/gralloc/Layout.h"

namespace zelkcam::host::gralloc {

inline constexpr std::string_view kStandardTypeName =
        "android.hardware.graphics.common.StandardMetadataType";
// Standard types are numbered from 1 to here.
inline constexpr int64_t kLastStandardType = 23;

// The encoded constant values of one buffer. Lies in shared memory as it is: no
// pointers.
struct ConstantMetadata {
    struct Extent {
        uint32_t offset;
        uint32_t size;
        bool operator==(const Extent&) const = default;
    };

    // By type; empty for the types that can be set.
    std::array<Extent, kLastStandardType + 1> extents{};
    // Room for the longest name and for three planes, with some to spare.
    std::array<uint8_t, 2304> bytes{};

    bool operator==(const ConstantMetadata&) const = default;

    std::span<const uint8_t> value(int64_t type) const {
        const Extent& extent = extents[static_cast<size_t>(type)];
        return {bytes.data() + extent.offset, extent.size};
    }
};

// Encodes what the buffer `id` answers. The same arguments give the same bytes in every process. No
// value for a layout that takes more bytes than there are.
std::optional<ConstantMetadata> encodeConstants(const Description& description,
                                                const Layout& layout, uint64_t id);

}  // namespace zelkcam::host::gralloc
