// One value in shared memory that any process may replace while others read it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <android/hardware/graphics/mapper/IMapper.h>

#include "host/gralloc/SharedMemory.h"

namespace zelkcam::host::gralloc {

// A cell holds the value twice. A writer fills the place that is not current and then makes it
// current by counting the version up, so a writer that is killed half-way leaves the old value
// in place. A reader that was overtaken by two writers sees it by the version and reads again.
//
// Nothing in the shared memory is trusted: places and sizes are checked against the capacity that
// this process knows, and every loop ends.
class SharedCell {
  public:
    // Bytes that a cell of this capacity takes; a multiple of 8.
    static constexpr uint32_t footprint(uint32_t capacity) {
        return static_cast<uint32_t>(sizeof(Control) + 2 * wordsFor(capacity) * sizeof(uint64_t));
    }

    // `memory` is aligned to 8 bytes, holds footprint(capacity) bytes and outlives the cell. Zeros
    // are an empty value.
    SharedCell(std::byte* memory, uint32_t capacity);

    // Copies the value to `destination` if it fits there and answers its size in any case; a
    // negated AIMapper_Error when somebody wrote nonsense over the cell (BAD_BUFFER) or writes it
    // without pause (NO_RESOURCES).
    int32_t read(void* destination, size_t destinationSize) const;

    // Replaces the value. At most the capacity; one writer at a time (CellWriteLock).
    void write(std::span<const uint8_t> value);

  private:
    struct Control {
        uint32_t version;
        uint32_t sizes[2];
        uint32_t unused;
    };

    static constexpr size_t wordsFor(uint32_t bytes) { return (bytes + 7) / 8; }
    uint64_t* place(uint32_t version) const;

    Control* mControl;
    uint64_t* mWords;
    uint32_t mCapacity;
};

// Keeps other writers, of this process and of others, from the cell at `offset` of the memory
// behind `fd`. The kernel lets go of the lock when its holder dies.
class CellWriteLock {
  public:
    CellWriteLock(int fd, uint64_t offset);
    CellWriteLock(const CellWriteLock&) = delete;
    CellWriteLock& operator=(const CellWriteLock&) = delete;
    ~CellWriteLock();

    // False when another writer did not let go within 80 milliseconds, or the process has no
    // descriptor left.
    bool held() const { return mHeld; }

  private:
    ScopedFileDescriptor mFile;
    uint64_t mOffset;
    bool mHeld;
};

}  // namespace zelkcam::host::gralloc
