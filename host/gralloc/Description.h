// What a client asks for.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace zelkcam::host::gralloc {

// The description of a buffer, as requested. Lies in shared memory as it is: no pointers.
struct Description {
    std::array<char, 128> name{};  // NUL-terminated
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t layerCount = 0;
    int32_t format = 0;
    uint64_t usage = 0;
    uint64_t reservedSize = 0;

    bool operator==(const Description&) const = default;
};

// From either published BufferDescriptorInfo. The name ends at its first NUL and is cut to what
// fits before ours; a negative dimension or layer count becomes none at all, and a negative size
// one that no device serves.
template <typename Info>
Description describe(std::string_view name, const Info& info) {
    const auto count = [](int64_t value) {
        return static_cast<uint32_t>(std::max<int64_t>(value, 0));
    };
    Description description;
    name = name.substr(0, std::min(name.find('\0'), description.name.size() - 1));
    std::ranges::copy(name, description.name.begin());
    description.width = count(info.width);
    description.height = count(info.height);
    description.layerCount = count(info.layerCount);
    description.format = static_cast<int32_t>(info.format);
    description.usage = static_cast<uint64_t>(info.usage);
    description.reservedSize = static_cast<uint64_t>(info.reservedSize);
    return description;
}

}  // namespace zelkcam::host::gralloc
