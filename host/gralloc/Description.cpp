#include "host/gralloc/Description.h"

#include <algorithm>

namespace zelkcam::host::gralloc {
namespace {

constexpr uint64_t bitRange(int first, int last) {
    return (~uint64_t{0} >> (63 - last)) & (~uint64_t{0} << first);
}

// Every bit that the published usage names or leaves to vendors. Old camera code still sets bit 10,
// once the 2D engine; the published interface demands it to be zero and has allocators refuse
// anything else, so it is refused here as well.
constexpr uint64_t kKnownUsage = bitRange(0, 9) | bitRange(11, 12) | bitRange(14, 18) |
                                 bitRange(20, 20) | bitRange(22, 32) | bitRange(48, 63);

bool isTerminated(const std::array<char, 128>& name) {
    return std::ranges::find(name, '\0') != name.end();
}

}  // namespace

void Description::setName(std::string_view text) {
    name.fill('\0');
    std::ranges::copy(text.substr(0, name.size() - 1), name.begin());
}

AIMapper_Error check(const Description& description, Layout* layout) {
    if (description.width == 0 || description.height == 0 || !isTerminated(description.name)) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    if (description.layerCount != 1 || (description.usage & ~kKnownUsage) != 0 ||
        description.reservedSize > kMaxReservedSize) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    const auto placed = layOut(resolveFormat(description.format, description.usage),
                               description.width, description.height);
    if (!placed) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    *layout = *placed;
    return AIMAPPER_ERROR_NONE;
}

}  // namespace zelkcam::host::gralloc
