// Buffers as they travel: what the allocator makes and every importer finds.
//
// A buffer is a handle with two memfds, the pixels and the metadata, and four integers. The
// metadata begins with a SharedImage, which never changes; cells for the settable values and the
// memory reserved for clients follow.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/gralloc/ConstantMetadata.h"
#include "host/gralloc/Device.h"
#include "host/gralloc/SettableMetadata.h"
#include "host/gralloc/SharedCell.h"
#include "host/gralloc/SharedMemory.h"

namespace zelkcam::host::gralloc {

inline constexpr uint32_t kMagic = 0x424b4c5a;  // "ZLKB"
// Counts every change of what the integers and the metadata memory hold.
inline constexpr uint32_t kVersion = 2;

// Order of the descriptors and integers in a handle.
enum HandleFd { kPixelFd, kMetadataFd, kFdCount };
enum HandleInt { kMagicInt, kVersionInt, kIdLowInt, kIdHighInt, kIntCount };

struct SharedHeader {
    uint32_t magic;
    uint32_t version;
    uint64_t bufferId;
    uint64_t pixelInode;  // which memory the pixels are; tells mixed-up descriptors
    uint64_t device;      // deviceFingerprint() of the process that made the buffer
    Description description;
};

struct SharedImage {
    SharedHeader header;
    ConstantMetadata constants;
};

// Where in the metadata memory things are. The same in every buffer.
struct SharedLayout {
    std::array<uint32_t, kSettableRules.size()> cells;
    uint32_t reserved;
};

constexpr SharedLayout sharedLayout() {
    constexpr uint32_t kAlignment = 64;
    SharedLayout layout{};
    uint32_t end = (sizeof(SharedImage) + kAlignment - 1) / kAlignment * kAlignment;
    for (size_t i = 0; i < kSettableRules.size(); ++i) {
        layout.cells[i] = end;
        end += SharedCell::footprint(kSettableRules[i].capacity);
    }
    layout.reserved = (end + kAlignment - 1) / kAlignment * kAlignment;
    return layout;
}

inline constexpr SharedLayout kSharedLayout = sharedLayout();
static_assert(kSharedLayout.cells.back() % 8 == 0, "cells are read in words");

inline uint64_t metadataSize(const Description& description) {
    return kSharedLayout.reserved + description.reservedSize;
}

struct RawBuffer {
    ScopedFileDescriptor fds[kFdCount];
    std::array<int32_t, kIntCount> ints;
};

struct AllocationRequest {
    Description description;
    int64_t count = 1;
    Dataspace dataspace = Dataspace::UNKNOWN;  // what the buffers start with
};

struct Allocation {
    uint32_t stride = 0;  // as Layout::answeredStride
    std::vector<RawBuffer> buffers;
};

// Makes all the buffers, or none. What decide() answers for a description that cannot be served,
// UNSUPPORTED for a negative count, NO_RESOURCES for one above the limit and when the process runs
// out of descriptors or memory.
AIMapper_Error allocate(const AllocationRequest& request, Allocation* out);

}  // namespace zelkcam::host::gralloc
