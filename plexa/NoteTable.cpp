#include "plexa/NoteTable.h"

#include <algorithm>

namespace zelkcam::plexa {

BufferNotes NoteTable::read(uint64_t bufferId) {
    const std::lock_guard lock(mLock);
    const Entry* entry = find(bufferId);
    return entry == nullptr ? BufferNotes{} : entry->notes;
}

NoteTable::Entry* NoteTable::find(uint64_t bufferId) {
    for (Entry& entry : mEntries) {
        if (entry.lastUse != 0 && entry.bufferId == bufferId) {
            entry.lastUse = ++mUses;
            return &entry;
        }
    }
    return nullptr;
}

NoteTable::Entry& NoteTable::entryFor(uint64_t bufferId) {
    if (Entry* entry = find(bufferId)) {
        return *entry;
    }
    Entry& idlest = *std::min_element(
            mEntries.begin(), mEntries.end(),
            [](const Entry& left, const Entry& right) { return left.lastUse < right.lastUse; });
    idlest = {bufferId, ++mUses, {}};
    return idlest;
}

}  // namespace zelkcam::plexa
