#include "host/gralloc/Allocation.h"

#include <unistd.h>

#include <atomic>
#include <cstring>
#include <utility>

namespace zelkcam::host::gralloc {
namespace {

// Unique among the living processes of a machine, without asking anyone.
uint64_t nextBufferId() {
    static std::atomic<uint32_t> counter{0};
    return static_cast<uint64_t>(getpid()) << 32 | ++counter;
}

void writeFirstValues(std::byte* shared, Dataspace dataspace) {
    for (size_t i = 0; i < kSettableRules.size(); ++i) {
        const SettableRule& rule = kSettableRules[i];
        SharedCell cell(shared + kSharedLayout.cells[i], rule.capacity);
        cell.write(initialValue(rule, dataspace));
    }
}

bool writeMetadata(int fd, uint64_t size, const SharedImage& image, Dataspace dataspace) {
    const Mapping shared = Mapping::map(fd, size);
    if (!shared) {
        return false;
    }
    std::memcpy(shared.data(), &image, sizeof(image));
    writeFirstValues(shared.data(), dataspace);
    return true;
}

AIMapper_Error allocateOne(const AllocationRequest& request, const Layout& layout, RawBuffer* out) {
    const Description& description = request.description;
    const uint64_t id = nextBufferId();
    const uint64_t size = metadataSize(description);
    const auto constants = encodeConstants(description, layout, id);
    RawBuffer raw;
    raw.fds[kPixelFd] = makeSharedMemory("zelkcam-pixels", layout.pixelBytes);
    raw.fds[kMetadataFd] = makeSharedMemory("zelkcam-metadata", size);
    SharedMemoryInfo pixels{};
    if (!constants || raw.fds[kPixelFd].get() < 0 || raw.fds[kMetadataFd].get() < 0 ||
        inspectSharedMemory(raw.fds[kPixelFd].get(), &pixels) != AIMAPPER_ERROR_NONE) {
        return AIMAPPER_ERROR_NO_RESOURCES;
    }
    const SharedImage image{{kMagic, kVersion, id, pixels.inode, deviceFingerprint(), description},
                            *constants};
    if (!writeMetadata(raw.fds[kMetadataFd].get(), size, image, request.dataspace)) {
        return AIMAPPER_ERROR_NO_RESOURCES;
    }
    raw.ints = {static_cast<int32_t>(kMagic), static_cast<int32_t>(kVersion),
                static_cast<int32_t>(id), static_cast<int32_t>(id >> 32)};
    *out = std::move(raw);
    return AIMAPPER_ERROR_NONE;
}

}  // namespace

AIMapper_Error allocate(const AllocationRequest& request, Allocation* out) {
    Layout layout;
    AIMapper_Error error = decide(request.description, &layout);
    if (layout.isGuess) {
        warnOfGuess(request.description);
    }
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    if (request.count < 0 || request.count > kMaxBufferCount) {
        return request.count < 0 ? AIMAPPER_ERROR_UNSUPPORTED : AIMAPPER_ERROR_NO_RESOURCES;
    }
    Allocation allocation{layout.answeredStride,
                          std::vector<RawBuffer>(static_cast<size_t>(request.count))};
    for (RawBuffer& buffer : allocation.buffers) {
        error = allocateOne(request, layout, &buffer);
        if (error != AIMAPPER_ERROR_NONE) {
            return error;
        }
    }
    *out = std::move(allocation);
    return AIMAPPER_ERROR_NONE;
}

}  // namespace zelkcam::host::gralloc
