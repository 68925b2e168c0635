// Notes on buffers kept in the process, for mappers that take none.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "platform/plexa.h"

namespace zelkcam::plexa {

// Everything that is noted on one buffer; zeros where nothing was.
struct BufferNotes {
    plexa_sf_record_t status{};
    uint64_t startOfFrame = 0;
};

// The notes of the buffers used last, by buffer id. Nothing tells the extension that a buffer is
// gone; ids are never used twice, so the entries of dead buffers only take room, and when there is
// none left the one that lay idle longest makes way. Safe from any thread; no destructor, so that
// it serves until the process is gone.
class NoteTable {
  public:
    // More buffers than a camera pipeline has in flight.
    static constexpr size_t kCapacity = 512;

    // Zeros for a buffer that is not in the table.
    BufferNotes read(uint64_t bufferId);

    // Calls `edit(BufferNotes&)` on the buffer's entry, which is made if there is none.
    template <typename Edit>
    void edit(uint64_t bufferId, Edit edit) {
        const std::lock_guard lock(mLock);
        edit(entryFor(bufferId).notes);
    }

  private:
    struct Entry {
        uint64_t bufferId = 0;
        uint64_t lastUse = 0;  // 0: empty
        BufferNotes notes;
    };

    Entry* find(uint64_t bufferId);
    Entry& entryFor(uint64_t bufferId);

    std::mutex mLock;
    uint64_t mUses = 0;
    std::array<Entry, kCapacity> mEntries{};
};

}  // namespace zelkcam::plexa
