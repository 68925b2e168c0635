// Memory that several processes share through a descriptor: memfds of fixed size, and mappings.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include <android/binder_auto_utils.h>
#include <android/hardware/graphics/mapper/IMapper.h>

namespace zelkcam::host::gralloc {

using ndk::ScopedFileDescriptor;

inline uint64_t roundToPages(uint64_t size) {
    const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

// A mapping, readable and writable, that ends with its owner. Move-only; empty when
// default-constructed.
class Mapping {
  public:
    // Maps the first `size` bytes of `fd`, shared, and the rest of their last page. The result is
    // empty, with errno set, on failure.
    static Mapping map(int fd, size_t size);

    Mapping() = default;
    Mapping(Mapping&& other) noexcept;
    Mapping& operator=(Mapping&& other) noexcept;
    ~Mapping();

    explicit operator bool() const { return mAddress != nullptr; }
    std::byte* data() const { return mAddress; }

  private:
    Mapping(std::byte* address, size_t size) : mAddress(address), mSize(size) {}

    std::byte* mAddress = nullptr;
    size_t mSize = 0;
};

// Makes zeroed memory of `size` bytes, rounded up to pages, that nobody can resize. Its pages take
// no memory before somebody touches them. The result is empty, with errno set, on
// failure. `name` shows in /proc.
ScopedFileDescriptor makeSharedMemory(const char* name, uint64_t size);

// What a descriptor that came from elsewhere refers to.
struct SharedMemoryInfo {
    uint64_t size;
    uint64_t inode;
};

// Checks a descriptor before it is mapped. BAD_BUFFER unless it is memory
// as makeSharedMemory makes it: of ordinary pages, readable and writable, sealed against resizing
// (a mapping beyond the end of a shrunken file kills the process that reads there) and against
// further seals.
AIMapper_Error inspectSharedMemory(int fd, SharedMemoryInfo* info);

// An own copy of a borrowed descriptor, close-on-exec. BAD_BUFFER when `fd` is not open,
// NO_RESOURCES when the process can hold no more.
AIMapper_Error duplicate(int fd, ScopedFileDescriptor* copy);

}  // namespace zelkcam::host::gralloc
