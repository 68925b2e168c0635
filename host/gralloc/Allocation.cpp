#include "host/gralloc/Allocation.h"

#include <unistd.h>

#include <atomic>
#include <cstring>
#include <utility>

namespace zelkcam::host::gralloc {
namespace {

// Unique among the living processes of a machine, without asking anybody.
uint64_t nextBufferId() {
    static std::atomic<uint32_t> counter{0};
    return static_cast<uint64_t>(getpid()) << 32 | ++counter;
}

void writeFirstValues(std::byte* shared) {
    for (size_t i = 0; i < kSettableRules.size(); ++i) {
        const SettableRule& rule = kSettableRules[i];
        SharedCell cell(shared + kSharedLayout.cells[i], rule.capacity());
        cell.write(initialValue(rule));
    }
}

AIMapper_Error allocateOne(const Description& description, const Layout& layout, RawBuffer* out) {
    RawBuffer raw;
    const uint64_t size = metadataSize(description);
    raw.fds[kPixelFd] = makeSharedMemory("zelkcam-pixels", layout.allocationSize);
    raw.fds[kMetadataFd] = makeSharedMemory("zelkcam-metadata", size);
    SharedMemoryInfo pixels{};
    if (raw.fds[kPixelFd].get() < 0 || raw.fds[kMetadataFd].get() < 0 ||
        inspectSharedMemory(raw.fds[kPixelFd].get(), &pixels) != AIMAPPER_ERROR_NONE) {
        return AIMAPPER_ERROR_NO_RESOURCES;
    }
    const Mapping shared = Mapping::map(raw.fds[kMetadataFd].get(), size);
    if (!shared) {
        return AIMAPPER_ERROR_NO_RESOURCES;
    }
    const uint64_t id = nextBufferId();
    const SharedImage image{{kMagic, kVersion, id, pixels.inode, description},
                            encodeConstants(description, layout, id)};
    std::memcpy(shared.data(), &image, sizeof(image));
    writeFirstValues(shared.data());
    raw.ints = {static_cast<int32_t>(kMagic), static_cast<int32_t>(kVersion),
                static_cast<int32_t>(id), static_cast<int32_t>(id >> 32)};
    *out = std::move(raw);
    return AIMAPPER_ERROR_NONE;
}

}  // namespace

AIMapper_Error allocate(const Description& description, int64_t count, Allocation* out) {
    Layout layout{};
    AIMapper_Error error = check(description, &layout);
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    if (count < 0 || count > kMaxBufferCount) {
        return count < 0 ? AIMAPPER_ERROR_UNSUPPORTED : AIMAPPER_ERROR_NO_RESOURCES;
    }
    Allocation allocation{layout.stride, std::vector<RawBuffer>(static_cast<size_t>(count))};
    for (RawBuffer& buffer : allocation.buffers) {
        error = allocateOne(description, layout, &buffer);
        if (error != AIMAPPER_ERROR_NONE) {
            return error;
        }
    }
    *out = std::move(allocation);
    return AIMAPPER_ERROR_NONE;
}

}  // namespace zelkcam::host::gralloc
