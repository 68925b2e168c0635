// The status records kept in the process, for mappers that take none.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "platform/plexa.h"

namespace zelkcam::plexa {

// The records of the buffers used last, by buffer id. The extension does not learn that a buffer is
// gone; ids are never used twice, so the entries of dead buffers only take room, and the entry that
// was idle longest is replaced when there is none left. Safe from any thread; no destructor, so
// that it serves until the process is gone.
class NoteTable {
  public:
    // More buffers than a camera pipeline has in flight.
    static constexpr size_t kCapacity = 512;

    // Zeros for a buffer that is not in the table.
    plexa_sf_record_t read(uint64_t bufferId);
    void write(uint64_t bufferId, const plexa_sf_record_t& record);

  private:
    struct Entry {
        uint64_t bufferId = 0;
        uint64_t lastUse = 0;  // 0: empty
        plexa_sf_record_t record{};
    };

    Entry* find(uint64_t bufferId);
    Entry& entryFor(uint64_t bufferId);

    std::mutex mLock;
    uint64_t mUses = 0;
    std::array<Entry, kCapacity> mEntries{};
};

}  // namespace zelkcam::plexa
